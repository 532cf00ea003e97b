// The certificates of a folder: the one in use, the one before, and the one that waits for the next start.
#include "certificate/keeper.h"

#include <openssl/err.h>
#include <openssl/pem.h>

#include <cstdio>
#include <stdexcept>

#include "base/file.h"
#include "base/log.h"
#include "certificate/server_check.h"

namespace sdkkit {
namespace {

constexpr Log kLog{"certificate"};
constexpr std::uint32_t kValidDays = 3650;
constexpr std::uint32_t kMostDays = 36500;
constexpr std::uint64_t kMostPhraseBytes = 1024;
constexpr const char* kUnreadable = "it cannot be read, or is too large";

const char* Or(const char* text, const char* otherwise) { return text != nullptr ? text : otherwise; }

void StoreOrThrow(const std::string& path, const std::string& bytes) {
  if (!ReplaceFile(path, bytes)) throw std::runtime_error(path + " cannot be written");
}

}  // namespace

CertificateKeeper::CertificateKeeper(const SdkKitCertificateOptions& options)
    : folder_(Or(options.folder, "tls")),
      subject_{Or(options.commonName, "device"),
               Or(options.alternativeNames, "DNS:localhost,IP:127.0.0.1,IP:::1")},
      validDays_(options.validDays == 0 ? kValidDays : options.validDays),
      onlyUploaded_(options.onlyUploaded != 0),
      passPhrase_(Or(options.passPhrase, "")) {
  if (const std::string fault = NamesFault(subject_); !fault.empty()) throw std::runtime_error(fault);
  if (validDays_ > kMostDays) throw std::runtime_error("a certificate would be valid for too long");
  if (!MakeFolder(folder_)) throw std::runtime_error("the folder " + folder_ + " cannot be made");
  RemoveTempFiles(folder_);
  if (options.passPhrase == nullptr) ReadPassPhrase();
}

void CertificateKeeper::ReadPassPhrase() {
  const std::string file = In("passphrase");
  const std::string text = ReadFile(file, kMostPhraseBytes).value_or("");
  passPhrase_ = text.substr(0, text.find('\n'));
  if (!passPhrase_.empty()) return;
  passPhrase_ = MakePassPhrase();
  StoreOrThrow(file, passPhrase_ + "\n");
}

void CertificateKeeper::Choose() {
  if (TakePending() || KeepsOrRestores()) return;
  choice_ = onlyUploaded_ ? kKitCertificateNone : kKitCertificateMade;
  if (onlyUploaded_) return;
  StoreOrThrow(inUse(), MakeIdentity(subject_, validDays_, passPhrase_));
  kLog.Info("a self-signed certificate was made");
}

// The one in use is kept as the one before first: at no instant there is none.
bool CertificateKeeper::TakePending() {
  if (!StatusOf(pending())) return false;
  const auto waiting = ReadFile(pending(), kMostPemBytes);
  const std::string fault = waiting ? LoadFault(pending(), passPhrase_) : kUnreadable;
  if (!fault.empty()) {
    refused_ = true;
    Say("the uploaded certificate cannot be used: " + fault);
    return false;
  }
  const auto used = ReadFile(inUse(), kMostPemBytes);
  const bool kept = !used || !LoadFault(inUse(), passPhrase_).empty() || ReplaceFile(Previous(), *used);
  if (!kept || !ReplaceFile(inUse(), *waiting)) {
    Say("the uploaded certificate cannot be stored");
    return false;
  }
  RemoveFile(pending());
  choice_ = kKitCertificateNew;
  kLog.Info("the uploaded certificate is in use");
  return true;
}

bool CertificateKeeper::KeepsOrRestores() {
  if (!StatusOf(inUse()) && !StatusOf(Previous())) return false;
  const std::string fault = LoadFault(inUse(), passPhrase_);
  if (fault.empty()) return true;
  Say("the certificate in use cannot be loaded any more: " + fault);
  const auto previous = ReadFile(Previous(), kMostPemBytes);
  if (!previous || !LoadFault(Previous(), passPhrase_).empty() || !ReplaceFile(inUse(), *previous))
    return false;
  choice_ = kKitCertificatePrevious;
  kLog.Warning("the certificate before is in use again");
  return true;
}

void CertificateKeeper::Say(const std::string& why) {
  why_ = why;
  kLog.Error("%s", why.c_str());
}

std::string CertificateKeeper::Take(const std::string& path) {
  auto bytes = ReadFile(path, kMostPemBytes);
  if (!bytes) return kUnreadable;
  // The key that a request was made for never left the device.
  if (bytes->find("PRIVATE KEY-----") == std::string::npos) {
    const KeyPtr key = KeyFor(*bytes);
    if (!key) return "it has no key, and no key of this device belongs to it";
    *bytes += "\n" + EncryptedKey(key.get(), passPhrase_);
  }
  const std::lock_guard lock(taking_);
  auto file = TempFile::Create(folder_);
  if (!file || !file->Write(*bytes)) return "it cannot be stored";
  std::string fault = LoadFault(file->path(), passPhrase_);
  if (fault.empty()) fault = DateFault(file->path());
  if (fault.empty() && !file->CommitTo(pending())) fault = "it cannot be stored";
  return fault;
}

std::string CertificateKeeper::Make(const SdkKitCertificateNames* names) {
  const Subject subject = SubjectOf(names);
  std::string fault = NamesFault(subject);
  const std::uint32_t days = names == nullptr || names->validDays == 0 ? validDays_ : names->validDays;
  if (fault.empty() && days > kMostDays) fault = "it would be valid for too long";
  if (!fault.empty()) return fault;
  const std::string pem = MakeIdentity(subject, days, passPhrase_);
  const std::lock_guard lock(taking_);
  return ReplaceFile(pending(), pem) ? "" : "it cannot be stored";
}

std::string CertificateKeeper::Request(const SdkKitCertificateNames* names, std::string& pem) const {
  const Subject subject = SubjectOf(names);
  if (std::string fault = NamesFault(subject); !fault.empty()) return fault;
  KeyPtr key = KeyOf(inUse());
  if (!key) key = KeyOf(pending());
  if (!key) return "there is no key";
  pem = MakeRequest(subject, key.get());
  return "";
}

bool CertificateKeeper::Discard() {
  const std::lock_guard lock(taking_);
  return StatusOf(pending()) && RemoveFile(pending());
}

KeyPtr CertificateKeeper::KeyOf(const std::string& path) const {
  const std::string pem = ReadFile(path, kMostPemBytes).value_or("");
  const BioPtr bio = BioOver(pem);
  std::string phrase = passPhrase_;
  KeyPtr key(PEM_read_bio_PrivateKey(bio.get(), nullptr, GivePassPhrase, phrase.data()));
  ERR_clear_error();
  return key;
}

// The key of this device that belongs to a certificate.
KeyPtr CertificateKeeper::KeyFor(const std::string& pem) const {
  const CertificatePtr certificate = CertificateOf(pem);
  for (const std::string& path : {inUse(), pending(), Previous()}) {
    KeyPtr key = KeyOf(path);
    const bool belongs = certificate && key && X509_check_private_key(certificate.get(), key.get()) == 1;
    ERR_clear_error();
    if (belongs) return key;
  }
  return nullptr;
}

Subject CertificateKeeper::SubjectOf(const SdkKitCertificateNames* names) const {
  if (names == nullptr) return subject_;
  return {Or(names->commonName, subject_.commonName.c_str()),
          Or(names->alternativeNames, subject_.alternativeNames.c_str())};
}

void CertificateKeeper::Fill(SdkKitCertificateStatus& status) const {
  status.choice = choice_;
  status.pending = StatusOf(pending()) ? 1 : 0;
  status.refused = refused_ ? 1 : 0;
  std::snprintf(status.why, sizeof status.why, "%s", why_.c_str());
}

}  // namespace sdkkit
