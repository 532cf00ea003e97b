// A PEM file that is read piece by piece, and refused at the first block that is of no use.
#include "certificate/pem_reader.h"

#include <openssl/err.h>
#include <openssl/pem.h>

#include <algorithm>
#include <array>
#include <utility>

#include "certificate/server_check.h"

namespace sdkkit {
namespace {

constexpr std::string_view kBegin = "-----BEGIN ";
constexpr std::string_view kEnd = "-----END ";
constexpr std::string_view kDashes = "-----";

// How a file that tools write begins; anything else is refused before its end is known.
constexpr std::array<std::string_view, 3> kBeginnings{kBegin, "Bag Attributes", "Certificate:"};

bool IsText(std::string_view piece) {
  return std::all_of(piece.begin(), piece.end(), [](char c) {
    return c == '\n' || c == '\r' || c == '\t' || static_cast<unsigned char>(c) >= ' ';
  });
}

bool MayBegin(std::string_view text) {
  return std::any_of(kBeginnings.begin(), kBeginnings.end(), [&](std::string_view beginning) {
    const std::size_t common = std::min(beginning.size(), text.size());
    return text.substr(0, common) == beginning.substr(0, common);
  });
}

constexpr std::size_t kLongestBeginning =
    std::max({kBeginnings[0].size(), kBeginnings[1].size(), kBeginnings[2].size()});

// The label of a line such as "-----BEGIN CERTIFICATE-----"; empty for another line.
std::string_view LabelOf(std::string_view line, std::string_view kind) {
  if (!line.starts_with(kind)) return "";
  line.remove_prefix(kind.size());
  return line.substr(0, line.find(kDashes));
}

}  // namespace

std::string PemReader::Feed(std::string_view piece) {
  bytes_ += piece.size();
  if (bytes_ > kMostPemBytes) return "it is too large";
  if (head_.size() < kLongestBeginning) head_.append(piece.substr(0, kLongestBeginning - head_.size()));
  if (!IsText(piece) || !MayBegin(head_)) return "it is no PEM file";
  for (const char letter : piece) {
    line_.push_back(letter);
    if (letter != '\n') continue;
    std::string fault = TakeLine(std::exchange(line_, {}));
    if (!fault.empty()) return fault;
  }
  return "";
}

std::string PemReader::TakeLine(const std::string& line) {
  if (label_.empty()) label_ = LabelOf(line, kBegin);
  if (label_.empty()) return "";
  block_ += line;
  if (LabelOf(line, kEnd) != label_) return "";
  return TakeBlock(std::exchange(label_, {}), std::exchange(block_, {}));
}

// The first certificate is the server's own, those behind it are its chain.
std::string PemReader::TakeBlock(std::string_view label, const std::string& block) {
  if (label.ends_with("CERTIFICATE")) {
    CertificatePtr certificate = CertificateOf(block);
    if (!certificate) return "a certificate in it is broken";
    if (!certificate_) certificate_ = std::move(certificate);
  }
  if (label.ends_with("PRIVATE KEY") && !key_) {
    const BioPtr bio = BioOver(block);
    key_.reset(PEM_read_bio_PrivateKey(bio.get(), nullptr, GivePassPhrase, passPhrase_.data()));
    ERR_clear_error();
    if (!key_) return "its key is broken, or does not open";
  }
  return certificate_ && key_ ? MatchFault(certificate_.get(), key_.get()) : "";
}

}  // namespace sdkkit
