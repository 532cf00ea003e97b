// The kit's certificates: what is refused, what a start chooses, and that HTTPS works with it.
#include <gtest/gtest.h>
#include <openssl/pem.h>
#include <openssl/rsa.h>

#include <array>
#include <ctime>
#include <filesystem>
#include <string>
#include <utility>
#include <vector>

#include "base/file.h"
#include "certificate.h"
#include "certificate/owned.h"
#include "connection.h"
#include "sdkapi/kit_certificate.h"
#include "sdkapi/sdkapi.h"
#include "server.h"

namespace sdkkit {
namespace {

namespace fs = std::filesystem;
using integration::KeyKind;
using integration::MakeCertificate;

constexpr const char* kPhrase = "the device's own";

std::string Pem(const std::string& name, const std::string& phrase = "", KeyKind kind = KeyKind::kRsa) {
  const auto made = MakeCertificate(phrase, name, kind);
  return made.certificate + made.key;
}

// One that no tool of the device would make.
std::string OddPem(int keyBits, long firstSecond, long lastSecond) {
  const KeyPtr key(EVP_RSA_gen(static_cast<unsigned>(keyBits)));
  const CertificatePtr certificate(X509_new());
  X509_set_version(certificate.get(), X509_VERSION_3);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), firstSecond);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), lastSecond);
  X509_set_pubkey(certificate.get(), key.get());
  X509_sign(certificate.get(), key.get(), EVP_sha256());
  const BioPtr pem = BioToFill();
  PEM_write_bio_X509(pem.get(), certificate.get());
  PEM_write_bio_PrivateKey(pem.get(), key.get(), nullptr, nullptr, 0, nullptr, nullptr);
  return ContentOf(pem);
}

class CertificateTest : public testing::Test {
 protected:
  void SetUp() override {
    std::string folder = (fs::temp_directory_path() / "sdkapi-certificate-XXXXXX").string();
    ASSERT_NE(mkdtemp(folder.data()), nullptr);
    folder_ = folder;
    fs::current_path(folder_);
    ASSERT_EQ(Start(), 0);
  }

  void TearDown() override {
    SdkKitCertificate_Stop();
    fs::current_path("/");
    fs::remove_all(folder_);
  }

  static int Start(std::uint32_t validDays = 0) {
    SdkKitCertificateOptions options{};
    options.size = sizeof options;
    options.passPhrase = kPhrase;
    options.commonName = "wire test";
    options.validDays = validDays;
    return SdkKitCertificate_Start(&options);
  }

  static SdkKitCertificateStatus Status() {
    SdkKitCertificateStatus status{};
    status.size = sizeof status;
    EXPECT_EQ(SdkKitCertificate_Status(&status), 0);
    return status;
  }

  static SdkKitCertificateInfo Info(const char* path = nullptr) {
    SdkKitCertificateInfo info{};
    info.size = sizeof info;
    EXPECT_EQ(SdkKitCertificate_Info(path, &info), 0);
    return info;
  }

  static SdkKitCertificateInfo Waiting() {
    SdkKitCertificateInfo info{};
    info.size = sizeof info;
    EXPECT_EQ(SdkKitCertificate_Waiting(&info), 0);
    return info;
  }

  static SdkKitCertificateNames Names(const char* commonName, const char* alternativeNames, uint32_t days) {
    return {sizeof(SdkKitCertificateNames), days, commonName, alternativeNames};
  }

  // Nothing, or why none is made.
  static std::string Make(const char* commonName, const char* alternativeNames, uint32_t days = 0) {
    const auto names = Names(commonName, alternativeNames, days);
    std::array<char, 256> why{};
    const int result = SdkKitCertificate_Make(&names, why.data(), why.size());
    EXPECT_EQ(result == 0, why[0] == '\0');
    return why.data();
  }

  static std::string Request(const SdkKitCertificateNames* names) {
    std::array<char, 8192> pem{};
    std::array<char, 256> why{};
    EXPECT_EQ(SdkKitCertificate_Request(names, pem.data(), pem.size(), why.data(), why.size()), 0);
    return pem.data();
  }

  // What an upload of this file leads to: nothing, or why it is refused.
  static std::string Take(const std::string& pem) {
    EXPECT_TRUE(ReplaceFile("upload", pem));
    SdkKitUpload upload{};
    upload.path = "upload";
    std::array<char, 256> why{};
    const int result = SdkKitCertificate_Take(&upload, why.data(), why.size());
    EXPECT_EQ(result == 0, why[0] == '\0');
    return why.data();
  }

  // What the check while it arrives says, byte for byte.
  static std::string Feed(const std::string& pem) {
    const SdkKitPieceCheck* const check = SdkKitCertificate_Pieces();
    void* const state = check->begin();
    std::array<char, 256> why{};
    int result = 0;
    for (std::size_t at = 0; at < pem.size() && result == 0; at += 7) {
      const std::string piece = pem.substr(at, 7);
      result = check->piece(state, piece.data(), piece.size(), why.data(), why.size());
    }
    check->end(state);
    return why.data();
  }

  fs::path folder_;
};

TEST_F(CertificateTest, TheFirstStartMakesOneAndTheNextKeepsIt) {
  EXPECT_EQ(Status().choice, kKitCertificateMade);
  const SdkKitCertificateInfo made = Info();
  EXPECT_STREQ(made.subject, "CN=wire test");
  EXPECT_STREQ(made.issuer, "CN=wire test");
  EXPECT_STREQ(made.names, "DNS:localhost, IP Address:127.0.0.1, IP Address:0:0:0:0:0:0:0:1");
  EXPECT_STREQ(made.key, "RSA");
  EXPECT_EQ(made.keyBits, 2048);
  EXPECT_EQ(made.notBefore, 0);
  EXPECT_GT(made.notAfter, 1700000000);
  EXPECT_EQ(std::string(made.fingerprint).size(), 95U);
  ASSERT_EQ(Start(), 0);
  EXPECT_EQ(Status().choice, kKitCertificateKept);
  EXPECT_STREQ(Info().fingerprint, made.fingerprint);
}

TEST_F(CertificateTest, AMadeOneIsValidForAHundredYearsAtMost) {
  constexpr std::int64_t kSecondsOfADay = 86400;
  fs::remove_all("tls");
  for (const std::uint32_t days : {36501U, 4294967295U}) EXPECT_EQ(Start(days), -1) << days;
  const std::int64_t before = std::time(nullptr);
  ASSERT_EQ(Start(36500), 0);
  EXPECT_GE(Info().notAfter, before + 36500 * kSecondsOfADay);
  EXPECT_LE(Info().notAfter, std::time(nullptr) + 36500 * kSecondsOfADay);
}

TEST_F(CertificateTest, WhatTheServerCannotUseIsRefused) {
  const auto one = MakeCertificate("", "one");
  const auto other = MakeCertificate("", "other");
  const std::string rest = one.certificate.substr(100);
  struct Row {
    const char* what;
    std::string pem;
    std::string arriving;  // said while it arrives
    std::string whole;     // said of the whole file, up to the colon
  };
  const Row rows[] = {
      {"good", Pem("one"), "", ""},
      {"elliptic", Pem("one", "", KeyKind::kElliptic), "", ""},
      {"key first", one.key + one.certificate, "", ""},
      {"the device's pass phrase", Pem("one", kPhrase), "", ""},
      {"not valid yet", OddPem(2048, 86400, 2 * 86400), "", ""},
      {"with a chain", one.certificate + one.key + other.certificate, "", ""},
      {"another pass phrase", Pem("one", "unknown"), "its key is broken, or does not open",
       "its key cannot be used"},
      {"another key", one.certificate + other.key, "its key cannot be used", "its key cannot be used"},
      {"a broken chain", one.certificate + one.key + "-----BEGIN CERTIFICATE-----\n" + rest,
       "a certificate in it is broken", "its chain cannot be used"},
      {"a weak key", OddPem(1024, 0, 86400), "its certificate cannot be used",
       "its certificate cannot be used"},
      {"expired", OddPem(2048, -2 * 86400, -86400), "", "it has expired"},
      {"no key", one.certificate, "", "it has no key, and no key of this device belongs to it"},
      {"no certificate", one.key, "", "its certificate cannot be used"},
      {"binary", std::string("\x30\x82\x01\0", 4), "it is no PEM file",
       "it has no key, and no key of this device belongs to it"},
      {"empty", "", "", "it has no key, and no key of this device belongs to it"},
  };
  const auto upToColon = [](const std::string& text) { return text.substr(0, text.find(':')); };
  for (const Row& row : rows) {
    EXPECT_EQ(upToColon(Feed(row.pem)), row.arriving) << row.what;
    EXPECT_EQ(upToColon(Take(row.pem)), row.whole) << row.what;
    EXPECT_EQ(Status().pending, row.whole.empty() ? 1 : 0) << row.what;
    fs::remove("tls/server.pending.pem");
  }
  EXPECT_EQ(Take(std::string(300000, '-')), "it cannot be read, or is too large");
  EXPECT_EQ(Feed(one.certificate + std::string(300000, '-')), "it is too large");
}

TEST_F(CertificateTest, AnUploadedOneIsInUseFromTheNextStart) {
  const std::string before = Info().fingerprint;
  ASSERT_EQ(Take(Pem("uploaded")), "");
  EXPECT_EQ(Info().fingerprint, before);
  ASSERT_EQ(Start(), 0);
  EXPECT_EQ(Status().choice, kKitCertificateNew);
  EXPECT_EQ(Status().pending, 0);
  EXPECT_STREQ(Info().subject, "CN=uploaded");
  ASSERT_EQ(Start(), 0);
  EXPECT_EQ(Status().choice, kKitCertificateKept);
}

TEST_F(CertificateTest, ADeviceWithoutHttpsMakesNone) {
  fs::remove_all("tls");
  SdkKitCertificateOptions options{};
  options.size = sizeof options;
  options.onlyUploaded = 1;
  ASSERT_EQ(SdkKitCertificate_Start(&options), 0);
  EXPECT_EQ(Status().choice, kKitCertificateNone);
  EXPECT_FALSE(fs::exists("tls/server.pem"));
  EXPECT_EQ(fs::file_size("tls/passphrase"), 33U);
  ASSERT_EQ(Take(Pem("uploaded")), "");
  ASSERT_EQ(SdkKitCertificate_Start(&options), 0);
  EXPECT_EQ(Status().choice, kKitCertificateNew);
}

TEST_F(CertificateTest, OneThatWentBadWhileItWaitedChangesNothing) {
  const std::string before = Info().fingerprint;
  const std::pair<std::string, const char*> rows[] = {
      {"-----BEGIN nothing",
       "the uploaded certificate cannot be used: its certificate cannot be used: no start line"},
      {std::string(std::size_t{1} << 20, 'x'),
       "the uploaded certificate cannot be used: it cannot be read, or is too large"},
  };
  for (const auto& [content, why] : rows) {
    ASSERT_EQ(Take(Pem("uploaded")), "");
    ASSERT_TRUE(ReplaceFile("tls/server.pending.pem", content));
    ASSERT_EQ(Start(), 0);
    const SdkKitCertificateStatus status = Status();
    EXPECT_EQ(status.choice, kKitCertificateKept);
    EXPECT_EQ(status.refused, 1);
    EXPECT_STREQ(status.why, why);
    EXPECT_EQ(Info().fingerprint, before);
  }
}

TEST_F(CertificateTest, TheOneBeforeReturnsWhenTheLastCannotBeLoaded) {
  const std::string before = Info().fingerprint;
  ASSERT_EQ(Take(Pem("uploaded")), "");
  ASSERT_EQ(Start(), 0);
  for (const char* const content : {"", "-----BEGIN nothing"}) {
    ASSERT_TRUE(ReplaceFile("tls/server.pem", content));
    ASSERT_EQ(Start(), 0);
    EXPECT_EQ(Status().choice, kKitCertificatePrevious);
    EXPECT_EQ(Info().fingerprint, before);
  }
  ASSERT_TRUE(ReplaceFile("tls/server.pem", "") && ReplaceFile("tls/server.previous.pem", ""));
  ASSERT_EQ(Start(), 0);
  EXPECT_EQ(Status().choice, kKitCertificateMade);
}

// The states of the folder at each instant of a change, as a kill leaves them.
TEST_F(CertificateTest, AKillBetweenTwoStepsLeavesOneThatIsGood) {
  const std::string old = *ReadFile("tls/server.pem", 100000);
  const std::string pending = Pem("uploaded");
  const std::vector<std::vector<const char*>> states = {{"server.pending.pem"},
                                                        {"server.pending.pem", "server.previous.pem"}};
  for (const auto& state : states) {
    ASSERT_TRUE(ReplaceFile("tls/server.pem", old) && ReplaceFile("tls/.new-abcdef", "half"));
    for (const char* const name : state) {
      ASSERT_TRUE(
          ReplaceFile(std::string("tls/") + name, std::string(name) == "server.pending.pem" ? pending : old));
    }
    ASSERT_EQ(Start(), 0);
    EXPECT_STREQ(Info().subject, "CN=uploaded");
    EXPECT_FALSE(fs::exists("tls/.new-abcdef"));
  }
}

// A request as somebody's authority answers it: with a certificate for its key.
std::string Sign(const std::string& request) {
  const BioPtr bio = BioOver(request);
  const RequestPtr asked(PEM_read_bio_X509_REQ(bio.get(), nullptr, nullptr, nullptr));
  EVP_PKEY* const key = X509_REQ_get0_pubkey(asked.get());
  EXPECT_EQ(X509_REQ_verify(asked.get(), key), 1);
  const KeyPtr authority(EVP_RSA_gen(2048));
  const CertificatePtr certificate(X509_new());
  X509_set_version(certificate.get(), X509_VERSION_3);
  X509_gmtime_adj(X509_getm_notBefore(certificate.get()), 0);
  X509_gmtime_adj(X509_getm_notAfter(certificate.get()), 86400);
  X509_set_subject_name(certificate.get(), X509_REQ_get_subject_name(asked.get()));
  X509_set_pubkey(certificate.get(), key);
  STACK_OF(X509_EXTENSION)* const extensions = X509_REQ_get_extensions(asked.get());
  for (int i = 0; i < sk_X509_EXTENSION_num(extensions); ++i) {
    X509_add_ext(certificate.get(), sk_X509_EXTENSION_value(extensions, i), -1);
  }
  sk_X509_EXTENSION_pop_free(extensions, X509_EXTENSION_free);
  X509_sign(certificate.get(), authority.get(), EVP_sha256());
  const BioPtr pem = BioToFill();
  PEM_write_bio_X509(pem.get(), certificate.get());
  return ContentOf(pem);
}

TEST_F(CertificateTest, ARequestIsAnsweredByACertificateWithoutAKey) {
  ASSERT_EQ(Take(Sign(Request(nullptr))), "");
  const SdkKitCertificateInfo waiting = Waiting();
  EXPECT_STREQ(waiting.subject, "CN=wire test");
  EXPECT_STREQ(waiting.names, "DNS:localhost, IP Address:127.0.0.1, IP Address:0:0:0:0:0:0:0:1");
  EXPECT_EQ(waiting.selfSigned, 0);
  ASSERT_EQ(Start(), 0);
  EXPECT_EQ(Status().choice, kKitCertificateNew);
  EXPECT_STREQ(Info().fingerprint, waiting.fingerprint);
}

TEST_F(CertificateTest, AnAnswerMayComeBehindAnotherCertificate) {
  const std::string answer = Sign(Request(nullptr));
  ASSERT_EQ(Take(Pem("uploaded")), "");
  ASSERT_EQ(Start(), 0);
  ASSERT_EQ(Take(answer), "") << "for the key before";
  ASSERT_EQ(Make("next", "next.example"), "");
  ASSERT_EQ(Take(answer), "");
  EXPECT_STREQ(Waiting().subject, "CN=wire test");
}

TEST_F(CertificateTest, AMadeOneWaitsForTheNextStart) {
  const std::string before = Info().fingerprint;
  ASSERT_EQ(Make("Küche", "device.example, *.device.example,192.0.2.7,IP:2001:db8::1,DNS:a_b", 10), "");
  const SdkKitCertificateInfo made = Waiting();
  EXPECT_EQ(Info().fingerprint, before);
  EXPECT_STREQ(made.subject, "CN=Küche");
  EXPECT_STREQ(made.names,
               "DNS:device.example, DNS:*.device.example, IP Address:192.0.2.7, "
               "IP Address:2001:DB8:0:0:0:0:0:1, DNS:a_b");
  EXPECT_EQ(made.selfSigned, 1);
  EXPECT_EQ(made.chain, 0);
  EXPECT_NEAR(static_cast<double>(made.notAfter), static_cast<double>(std::time(nullptr) + 10 * 86400), 600);
  ASSERT_EQ(Start(), 0);
  EXPECT_EQ(Status().choice, kKitCertificateNew);
  EXPECT_STREQ(Info().fingerprint, made.fingerprint);
}

TEST_F(CertificateTest, WhatWaitsCanBeTakenBack) {
  SdkKitCertificateInfo info{};
  info.size = sizeof info;
  EXPECT_EQ(SdkKitCertificate_Waiting(&info), -1);
  EXPECT_EQ(SdkKitCertificate_Discard(), -1);
  ASSERT_EQ(Make(nullptr, nullptr), "");
  EXPECT_EQ(Status().pending, 1);
  EXPECT_EQ(SdkKitCertificate_Discard(), 0);
  EXPECT_EQ(Status().pending, 0);
  ASSERT_EQ(Start(), 0);
  EXPECT_EQ(Status().choice, kKitCertificateKept);
}

TEST_F(CertificateTest, NamesThatAreNoneAreRefused) {
  const std::string common = "the common name is not 1 to 64 characters";
  const std::string alternative = "an alternative name is neither a host's name nor an address";
  const struct {
    std::string commonName;
    std::string alternativeNames;
    std::string why;
  } rows[] = {
      {"", "a", common},
      {std::string(64, 'x'), "a", ""},
      {std::string(65, 'x'), "a", common},
      {"a\nb", "a", common},
      {"\xff", "a", common},
      {"a", "", alternative},
      {"a", "a,", alternative},
      {"a", "a b", alternative},
      {"a", ".", alternative},
      {"a", "a..b", alternative},
      {"a", "-a", alternative},
      {"a", "*", alternative},
      {"a", "a.*", alternative},
      {"a", "IP:a", alternative},
      {"a", "IP:1.2.3", alternative},
      {"a", "DNS:a:b", alternative},
      {"a", "dirName:section", alternative},
      {"a", "@section", alternative},
      {"a", "email:copy", alternative},
      {"a", std::string(63, 'x') + ".y", ""},
      {"a", std::string(64, 'x'), alternative},
      {"a", std::string(1001, 'x'), "there are too many alternative names"},
  };
  for (const auto& row : rows) {
    EXPECT_EQ(Make(row.commonName.c_str(), row.alternativeNames.c_str()), row.why)
        << row.commonName << " " << row.alternativeNames;
    std::array<char, 8192> pem{};
    const auto names = Names(row.commonName.c_str(), row.alternativeNames.c_str(), 0);
    std::array<char, 256> why{};
    EXPECT_EQ(SdkKitCertificate_Request(&names, pem.data(), pem.size(), why.data(), why.size()) == 0,
              row.why.empty());
    EXPECT_EQ(why.data(), row.why);
  }
  EXPECT_EQ(Make("a", "a", 36501), "it would be valid for too long");
}

TEST_F(CertificateTest, ADeviceWithoutAKeyMakesNoRequest) {
  fs::remove_all("tls");
  SdkKitCertificateOptions options{};
  options.size = sizeof options;
  options.onlyUploaded = 1;
  ASSERT_EQ(SdkKitCertificate_Start(&options), 0);
  std::array<char, 8192> pem{};
  std::array<char, 256> why{};
  EXPECT_EQ(SdkKitCertificate_Request(nullptr, pem.data(), pem.size(), why.data(), why.size()), -1);
  EXPECT_STREQ(why.data(), "there is no key");
  ASSERT_EQ(Make(nullptr, nullptr), "");
  ASSERT_EQ(Take(Sign(Request(nullptr))), "");
}

TEST_F(CertificateTest, TheChainIsCounted) {
  const auto one = MakeCertificate("", "one");
  ASSERT_EQ(Take(one.certificate + one.key + MakeCertificate("", "other").certificate), "");
  EXPECT_EQ(Waiting().chain, 1);
}

TEST_F(CertificateTest, TheServerStartsWithWhatWasTaken) {
  for (const std::string& pem :
       {Pem("rsa"), Pem("elliptic", "", KeyKind::kElliptic), Pem("encrypted", kPhrase)}) {
    ASSERT_EQ(Take(pem), "");
    ASSERT_EQ(Start(), 0);
    const int port = integration::FreePort();
    SdkAPISer_Port_Set(0, port);
    SdkAPiSer_DocumentRoot_Set("/nonexistent");
    SdkAPISer_Init();
    const SdkAPISerHandle table{};
    ASSERT_EQ(SdkAPISer_Start(&table), 0);
    integration::Connection client(port, true);
    EXPECT_TRUE(client.Send("GET /nothing HTTP/1.1\r\nHost: a\r\nConnection: close\r\n\r\n"));
    EXPECT_TRUE(client.ReadToEnd().starts_with("HTTP/1.1 404 "));
    SdkAPISer_Stop(nullptr);
  }
}

TEST_F(CertificateTest, BadArgumentsAreRefused) {
  std::array<char, 16> why{};
  SdkKitCertificateOptions options{};
  EXPECT_EQ(SdkKitCertificate_Start(&options), -1);
  SdkKitCertificateStatus status{};
  EXPECT_EQ(SdkKitCertificate_Status(&status), -1);
  SdkKitCertificateInfo info{};
  info.size = sizeof info;
  EXPECT_EQ(SdkKitCertificate_Info("/nonexistent", &info), -1);
  EXPECT_EQ(SdkKitCertificate_Info(nullptr, nullptr), -1);
  EXPECT_EQ(SdkKitCertificate_Check(nullptr, why.data(), why.size()), -1);
  EXPECT_EQ(SdkKitCertificate_Check("tls/server.pem", nullptr, 1), -1);
  EXPECT_EQ(SdkKitCertificate_Check("tls/server.pem", why.data(), why.size()), 0);
  EXPECT_EQ(SdkKitCertificate_Take(nullptr, why.data(), why.size()), -1);
  SdkKitCertificateNames names{};
  std::array<char, 8192> pem{};
  EXPECT_EQ(SdkKitCertificate_Make(&names, why.data(), why.size()), -1);
  EXPECT_EQ(SdkKitCertificate_Make(nullptr, nullptr, 1), -1);
  EXPECT_EQ(SdkKitCertificate_Request(&names, pem.data(), pem.size(), why.data(), why.size()), -1);
  EXPECT_EQ(SdkKitCertificate_Request(nullptr, nullptr, 1, why.data(), why.size()), -1);
  EXPECT_EQ(SdkKitCertificate_Request(nullptr, pem.data(), 100, why.data(), why.size()), -1);
  EXPECT_STREQ(why.data(), "it does not fit");
  SdkKitCertificate_Stop();
  status.size = sizeof status;
  EXPECT_EQ(SdkKitCertificate_Status(&status), -1);
  EXPECT_EQ(SdkKitCertificate_Make(nullptr, why.data(), why.size()), -1);
  EXPECT_STREQ(why.data(), "certificates ar") << "cut to its room";
}

}  // namespace
}  // namespace sdkkit
