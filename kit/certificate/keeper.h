// The certificates of a folder: the one in use, the one before, and the one that waits for the next start.
#pragma once

#include <cstdint>
#include <mutex>
#include <string>

#include "certificate/issue.h"
#include "sdkapi/kit_certificate.h"

namespace sdkkit {

class CertificateKeeper {
 public:
  explicit CertificateKeeper(const SdkKitCertificateOptions& options);

  // Chooses the certificate of this start. Throws std::runtime_error when there is none and none can be made.
  void Choose();

  // Keeps this file's content for the next start; why it cannot be used, else an empty text.
  std::string Take(const std::string& path);
  // Keeps a new self-signed certificate for it.
  std::string Make(const SdkKitCertificateNames* names);
  // Makes a signing request as PEM.
  std::string Request(const SdkKitCertificateNames* names, std::string& pem) const;
  // False when nothing waits, or it stays.
  bool Discard();

  std::string inUse() const { return In("server.pem"); }
  std::string pending() const { return In("server.pending.pem"); }
  const std::string& passPhrase() const { return passPhrase_; }
  void Fill(SdkKitCertificateStatus& status) const;

 private:
  std::string In(const char* name) const { return folder_ + "/" + name; }
  std::string Previous() const { return In("server.previous.pem"); }
  void ReadPassPhrase();
  bool TakePending();
  bool KeepsOrRestores();
  void Say(const std::string& why);
  KeyPtr KeyOf(const std::string& path) const;
  KeyPtr KeyFor(const std::string& pem) const;
  Subject SubjectOf(const SdkKitCertificateNames* names) const;

  const std::string folder_;
  const Subject subject_;
  const std::uint32_t validDays_;
  const bool onlyUploaded_;
  std::string passPhrase_;
  std::mutex taking_;
  SdkKitCertificateChoice choice_ = kKitCertificateKept;
  bool refused_ = false;
  std::string why_;
};

}  // namespace sdkkit
