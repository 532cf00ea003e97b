// The names that a made certificate and a signing request have.
#include "certificate/names.h"

#include <arpa/inet.h>
#include <openssl/err.h>

#include <algorithm>
#include <optional>
#include <vector>

namespace sdkkit {
namespace {

constexpr std::size_t kMostCommonName = 64;  // characters, as X.509 bounds it
constexpr std::size_t kMostAlternativeNames = 1000;
constexpr std::size_t kMostHostName = 253;
constexpr std::size_t kMostLabel = 63;
constexpr std::string_view kDns = "DNS:";
constexpr std::string_view kIp = "IP:";

// One alternative name: a host's or an address.
struct Name {
  bool isAddress;
  std::string text;
};

bool IsAddress(const std::string& text) {
  unsigned char bytes[sizeof(in6_addr)];
  return inet_pton(AF_INET, text.c_str(), bytes) == 1 || inet_pton(AF_INET6, text.c_str(), bytes) == 1;
}

bool IsLabel(std::string_view label) {
  constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789_-";
  return !label.empty() && label.size() <= kMostLabel && label.front() != '-' && label.back() != '-' &&
         label.find_first_not_of(kLetters) == std::string_view::npos;
}

// Labels with dots; a first one may be "*".
bool IsHostName(std::string_view name) {
  if (name.size() > kMostHostName) return false;
  if (name.starts_with("*.")) name.remove_prefix(2);
  for (std::size_t dot = 0; dot != std::string_view::npos; name.remove_prefix(dot + 1)) {
    dot = name.find('.');
    if (!IsLabel(name.substr(0, dot))) return false;
    if (dot == std::string_view::npos) break;
  }
  return true;
}

std::string_view Trimmed(std::string_view text) {
  const std::size_t first = text.find_first_not_of(" \t");
  if (first == std::string_view::npos) return "";
  return text.substr(first, text.find_last_not_of(" \t") + 1 - first);
}

std::optional<Name> Parse(std::string_view text) {
  const bool saysDns = text.starts_with(kDns);
  const bool saysIp = text.starts_with(kIp);
  if (saysDns) text.remove_prefix(kDns.size());
  if (saysIp) text.remove_prefix(kIp.size());
  const std::string name(text);
  if (!saysDns && IsAddress(name)) return Name{true, name};
  if (!saysIp && IsHostName(name)) return Name{false, name};
  return std::nullopt;
}

std::vector<std::string_view> Split(std::string_view names) {
  std::vector<std::string_view> parts;
  for (;;) {
    const std::size_t comma = names.find(',');
    parts.push_back(Trimmed(names.substr(0, comma)));
    if (comma == std::string_view::npos) return parts;
    names.remove_prefix(comma + 1);
  }
}

bool IsCommonName(const std::string& name) {
  const bool isText = std::all_of(name.begin(), name.end(),
                                  [](char c) { return static_cast<unsigned char>(c) >= ' ' && c != 0x7f; });
  const int kind = ASN1_mbstring_ncopy(nullptr, reinterpret_cast<const unsigned char*>(name.data()),
                                       static_cast<int>(name.size()), MBSTRING_UTF8, B_ASN1_UTF8STRING, 1,
                                       kMostCommonName);
  ERR_clear_error();
  return isText && kind > 0;
}

}  // namespace

std::string NamesFault(const Subject& subject) {
  if (!IsCommonName(subject.commonName)) return "the common name is not 1 to 64 characters";
  if (subject.alternativeNames.size() > kMostAlternativeNames) return "there are too many alternative names";
  for (const std::string_view name : Split(subject.alternativeNames)) {
    if (!Parse(name)) return "an alternative name is neither a host's name nor an address";
  }
  return "";
}

ExtensionPtr AlternativeNames(const Subject& subject) {
  const GeneralNamesPtr names(GENERAL_NAMES_new());
  if (!names) throw std::bad_alloc();
  for (const std::string_view text : Split(subject.alternativeNames)) {
    const Name name = Parse(text).value();
    GENERAL_NAME* const added = a2i_GENERAL_NAME(nullptr, nullptr, nullptr,
                                                 name.isAddress ? GEN_IPADD : GEN_DNS, name.text.c_str(), 0);
    if (added == nullptr || sk_GENERAL_NAME_push(names.get(), added) == 0) throw std::bad_alloc();
  }
  ExtensionPtr extension(X509V3_EXT_i2d(NID_subject_alt_name, 0, names.get()));
  if (!extension) throw std::bad_alloc();
  return extension;
}

}  // namespace sdkkit
