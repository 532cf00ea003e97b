// The device's certificates: what they say, and those that it makes itself.
#include "model/certificates.h"

#include <arpa/inet.h>
#include <sdkapi/kit_certificate.h>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <ctime>
#include <optional>
#include <string_view>
#include <system_error>
#include <utility>

#include "store/files.h"
#include "store/paths.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr int64_t kSoon = int64_t{30} * 86400;  // seconds before its end in which a certificate is warned of
constexpr std::size_t kReasonSize = 256;
constexpr std::size_t kRequestSize = 8192;
constexpr int64_t kMostDays = 36500;

// In the order of SdkKitCertificateChoice.
constexpr std::array<const char*, 5> kChoices{"kept", "new", "previous", "made", "none"};

const char* StateOf(const SdkKitCertificateInfo& info) {
  const int64_t now = std::time(nullptr);
  if (now > info.notAfter) return "expired";
  if (now < info.notBefore) return "early";
  return info.notAfter - now < kSoon ? "soon" : "valid";
}

// OpenSSL writes all groups of an IPv6 address.
std::string Shortened(const std::string& name) {
  in6_addr address{};
  char text[INET6_ADDRSTRLEN];
  if (inet_pton(AF_INET6, name.c_str(), &address) != 1) return name;
  return inet_ntop(AF_INET6, &address, text, sizeof text) != nullptr ? text : name;
}

// "DNS:a, IP Address:b" as the names alone.
json NamesOf(std::string_view text) {
  json names = json::array();
  while (!text.empty()) {
    const std::size_t end = text.find(", ");
    std::string_view name = text.substr(0, end);
    for (const std::string_view kind : {"DNS:", "IP Address:"}) {
      if (name.starts_with(kind)) name.remove_prefix(kind.size());
    }
    names.push_back(Shortened(std::string(name)));
    text.remove_prefix(end == std::string_view::npos ? text.size() : end + 2);
  }
  return names;
}

json ToJson(const SdkKitCertificateInfo& info) {
  return {{"subject", info.subject},
          {"issuer", info.issuer},
          {"names", NamesOf(info.names)},
          {"notBefore", info.notBefore},
          {"notAfter", info.notAfter},
          {"state", StateOf(info)},
          {"fingerprint", info.fingerprint},
          {"key", info.key},
          {"keyBits", info.keyBits},
          {"selfSigned", info.selfSigned == 1},
          {"chain", info.chain}};
}

// What `read` reads, or null.
template <typename Read>
json Told(Read read) {
  SdkKitCertificateInfo info{};
  info.size = sizeof info;
  return read(&info) == 0 ? ToJson(info) : json();
}

// The port stands behind the certificate.
json PortCertificate() {
  json told = Told([](auto* info) { return SdkKitCertificate_Info(kPortCertificate, info); });
  const std::string pem = ReadFile(kPortCertificate, kCertificateLimit).value_or("");
  constexpr std::string_view kPort = "\nPort: ";
  const std::size_t at = pem.rfind(kPort);
  int port = 0;
  if (told.is_object() && at != std::string::npos &&
      std::from_chars(&pem[at] + kPort.size(), pem.data() + pem.size(), port).ec == std::errc())
    told["port"] = port;
  return told;
}

struct Wanted {
  std::optional<std::string> commonName;
  std::optional<std::string> names;
  uint32_t days = 0;
};

// A NUL would hide what stands behind it.
bool IsText(const json& value) {
  return value.is_string() && value.get_ref<const std::string&>().find('\0') == std::string::npos;
}

std::string Joined(const json& names) {
  std::string text;
  for (const json& name : names) text += (text.empty() ? "" : ",") + name.get<std::string>();
  return text;
}

// Nothing when a member has another type, or is not known.
std::optional<Wanted> Parse(const json& body) {
  Wanted wanted;
  for (const auto& [member, value] : body.items()) {
    if (member == "commonName" && IsText(value)) {
      wanted.commonName = value;
    } else if (member == "names" && value.is_array() && std::all_of(value.begin(), value.end(), IsText)) {
      wanted.names = Joined(value);
    } else if (member == "days" && value.is_number_integer() && value >= 1 && value <= kMostDays) {
      wanted.days = value;
    } else if (member != "action") {
      return std::nullopt;
    }
  }
  return wanted;
}

// An empty text, or the reason that `make` gives.
template <typename Make>
std::string Run(const json& body, Make make) {
  const auto wanted = Parse(body);
  if (!wanted) return "bad body";
  SdkKitCertificateNames names{};
  names.size = sizeof names;
  names.validDays = wanted->days;
  names.commonName = wanted->commonName ? wanted->commonName->c_str() : nullptr;
  names.alternativeNames = wanted->names ? wanted->names->c_str() : nullptr;
  std::array<char, kReasonSize> why{};
  return make(&names, why.data(), why.size()) == 0 ? "" : why.data();
}

}  // namespace

json Certificates() {
  SdkKitCertificateStatus status{};
  status.size = sizeof status;
  const bool isStarted = SdkKitCertificate_Status(&status) == 0;
  return {{"inUse", Told([](auto* info) { return SdkKitCertificate_Info(nullptr, info); })},
          {"waiting", Told(SdkKitCertificate_Waiting)},
          {"ieee8021x", PortCertificate()},
          {"choice", isStarted ? kChoices.at(static_cast<std::size_t>(status.choice)) : "none"},
          {"why", status.why}};
}

std::string MakeCertificate(const json& wanted) { return Run(wanted, SdkKitCertificate_Make); }

std::string RequestCertificate(const json& wanted, std::string& pem) {
  std::string room(kRequestSize, '\0');
  std::string reason = Run(wanted, [&](const SdkKitCertificateNames* names, char* why, std::size_t whySize) {
    return SdkKitCertificate_Request(names, room.data(), room.size(), why, whySize);
  });
  room.resize(std::strlen(room.data()));
  pem = std::move(room);
  return reason;
}

std::string DiscardCertificate() { return SdkKitCertificate_Discard() == 0 ? "" : "nothing waits"; }

}  // namespace sim
