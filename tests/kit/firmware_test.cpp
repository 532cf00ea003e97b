// Firmware: what is signed, whole and newer is installed, on trial until it confirms itself.
#include <gtest/gtest.h>
#include <sodium.h>

#include <algorithm>
#include <cstring>
#include <filesystem>
#include <memory>
#include <set>
#include <string>
#include <vector>

#include "base/file.h"
#include "sdkapi/kit_firmware.h"
#include "sdkapi/kit_log.h"

namespace sdkkit {
namespace {

namespace fs = std::filesystem;

struct KeyPair {
  KeyPair() { crypto_sign_keypair(publicKey, secretKey); }
  unsigned char publicKey[crypto_sign_PUBLICKEYBYTES];
  unsigned char secretKey[crypto_sign_SECRETKEYBYTES];
};

std::string Hex(const unsigned char* bytes, std::size_t length) {
  std::string text(2 * length + 1, '\0');
  sodium_bin2hex(text.data(), text.size(), bytes, length);
  text.pop_back();
  return text;
}

std::string HashOf(const std::string& image) {
  unsigned char hash[crypto_hash_sha256_BYTES];
  crypto_hash_sha256(hash, reinterpret_cast<const unsigned char*>(image.data()), image.size());
  return Hex(hash, sizeof hash);
}

std::string Signed(const KeyPair& keys, const std::string& head, const std::string& image) {
  unsigned char signature[crypto_sign_BYTES];
  crypto_sign_detached(signature, nullptr, reinterpret_cast<const unsigned char*>(head.data()), head.size(),
                       keys.secretKey);
  return head + Hex(signature, sizeof signature) + "\n" + image;
}

std::string HeadOf(const std::string& version, std::size_t size, const std::string& hash,
                   const std::string& model = "M1") {
  return "SDKFW2\n{\"model\":\"" + model + "\",\"version\":\"" + version +
         "\",\"size\":" + std::to_string(size) + ",\"sha256\":\"" + hash + "\"}\n";
}

std::string Container(const KeyPair& keys, const std::string& version, const std::string& image) {
  return Signed(keys, HeadOf(version, image.size(), HashOf(image)), image);
}

// The device's two slots.
struct Slots {
  std::string writing;
  std::string next;
  std::string version;
  int opens = 0;
  int closes = 0;
  int rollBacks = 0;
  bool opensFail = false;
  bool writesFail = false;
  bool activationFails = false;
  std::vector<std::pair<int, std::string>> told;
  std::set<std::string> tokens;
} slots;

std::vector<std::string> lines;

int Open(const SdkKitFirmwareImage*) {
  slots.writing.clear();
  ++slots.opens;
  return slots.opensFail ? -1 : 0;
}
int Write(const char* bytes, size_t length) {
  slots.writing.append(bytes, length);
  return slots.writesFail ? -1 : 0;
}
int Close(int good) {
  ++slots.closes;
  if (good == 0) slots.writing.clear();
  return 0;
}
int Activate(const char* version) {
  if (slots.activationFails) return -1;
  slots.next = slots.writing;
  slots.version = version;
  return 0;
}
int RollBack() {
  ++slots.rollBacks;
  return 0;
}
void Progress(const SdkKitFirmwareProgress* progress) {
  if (progress->phase != kKitFirmwareReceiving) slots.told.emplace_back(progress->phase, progress->why);
  slots.tokens.insert(progress->token);
}
void TakeLine(int, const char*, const char* text) { lines.emplace_back(text); }

class FirmwareTest : public testing::Test {
 protected:
  FirmwareTest()
      : folder_(fs::temp_directory_path() / ("firmware." + std::to_string(getpid()))),
        before_(fs::current_path()) {
    fs::remove_all(folder_);
    fs::create_directories(folder_);
    fs::current_path(folder_);
    slots = {};
    lines.clear();
    SdkKitLog_Set(TakeLine);
  }
  ~FirmwareTest() override {
    SdkKitFirmware_Stop();
    SdkKitLog_Set(nullptr);
    fs::current_path(before_);
    fs::remove_all(folder_);
  }

  SdkKitFirmwareOptions Options(const char* version = "1.2.0") const {
    SdkKitFirmwareOptions options{};
    options.size = sizeof options;
    options.keyCount = 1;
    options.keys = keys_.publicKey;
    options.model = "M1";
    options.version = version;
    options.most = 1000;
    options.open = Open;
    options.write = Write;
    options.close = Close;
    options.activate = Activate;
    options.rollBack = RollBack;
    options.progress = Progress;
    return options;
  }

  int Start(const char* version = "1.2.0") const {
    const auto options = Options(version);
    return SdkKitFirmware_Start(&options);
  }

  // One upload as the library makes it; the slot's last answer.
  static int Upload(const std::string& bytes, std::size_t pieceSize = 32768) {
    SdkAPISerHandle table{};
    SdkKitFirmware_Fill(&table);
    const auto record = std::make_unique<UploadFileCtx>();
    if (const int answer = table.UpgradeCb("token", record.get()); answer != 0) return answer;
    for (std::size_t at = 0; at < bytes.size(); at += pieceSize) {
      const std::string piece = bytes.substr(at, pieceSize);
      std::memcpy(record->data, piece.data(), piece.size());
      record->length = static_cast<int64_t>(piece.size());
      record->pieceState = 2;
      if (const int answer = table.UpgradeCb("token", record.get()); answer != 0) return answer;
    }
    record->length = 0;
    record->endFlag = 1;
    return table.UpgradeCb("token", record.get());
  }

  KeyPair keys_;
  fs::path folder_;
  fs::path before_;
};

using Told = std::vector<std::pair<int, std::string>>;

TEST_F(FirmwareTest, AGoodContainerIsInstalledHoweverItArrives) {
  const std::string image = "an image of firmware";
  const std::string container = Container(keys_, "1.3.0", image);
  for (std::size_t pieceSize = 1; pieceSize <= container.size(); ++pieceSize) {
    slots = {};
    ASSERT_EQ(Start(), 0);
    EXPECT_EQ(Upload(container, pieceSize), 0) << pieceSize;
    EXPECT_EQ(slots.next, image);
    EXPECT_EQ(slots.version, "1.3.0");
    EXPECT_EQ(slots.told, (Told{{kKitFirmwareInstalling, ""}, {kKitFirmwareInstalled, ""}}));
    SdkKitFirmware_Stop();
  }
}

TEST_F(FirmwareTest, AWrongContainerIsRefusedWithWordsAndChangesNothing) {
  const std::string image = "an image of firmware";
  const std::string good = Container(keys_, "1.3.0", image);
  const std::string hash = HashOf(image);
  std::string changedHead = good;
  changedHead[good.find("1.3.0")] = '9';
  std::string changedImage = good;
  changedImage.back() = '!';
  const struct {
    std::string container;
    int answer;
    const char* why;
  } cases[] = {
      {"", -1, "it is shorter than it says"},
      {"holiday", 1, "no firmware container"},
      {"SDKFW1\n{\"version\":\"1.3.0\"}\n", 1, "a container without a signature"},
      {"SDKFW2\n" + std::string(2000, 'x'), 1, "a head of more than 1024 bytes"},
      {"SDKFW2\n{}\n\n", 1, "a wrong signature"},
      {"SDKFW2\n{}\n" + std::string(128, '0') + "\n", 1, "a wrong signature"},
      {Container(KeyPair(), "1.3.0", image), 1, "a wrong signature"},
      {changedHead, 1, "a wrong signature"},
      {changedImage, 1, "a wrong hash"},
      {Signed(keys_, "SDKFW2\n[]\n", image), 1, "a bad head"},
      {Signed(keys_, "SDKFW2\n{\"a\":{\"b\":{}}}\n", image), 1, "a bad head"},
      {Signed(keys_, HeadOf("one", image.size(), hash), image), 1, "a bad head"},
      {Signed(keys_, HeadOf("1.3.0", image.size(), "beef"), image), 1, "a bad head"},
      {Signed(keys_, HeadOf("1.3.0", image.size(), hash, "M2"), image), 1, "made for another model"},
      {Signed(keys_, HeadOf("1.3.0", 0, HashOf("")), ""), 1, "an empty image"},
      {Signed(keys_, HeadOf("1.3.0", 1001, hash), image), 1, "an image of more than 1000 bytes"},
      {Container(keys_, "1.1.9", image), 1, "version 1.1.9 is older than what runs"},
      {Container(keys_, "1.2.0-rc1", image), 1, "version 1.2.0-rc1 is older than what runs"},
      {good + "x", 1, "bytes behind the image"},
      {good.substr(0, good.size() - 1), -1, "it is shorter than it says"},
  };
  for (const auto& wrong : cases) {
    slots = {};
    lines.clear();
    ASSERT_EQ(Start(), 0);
    EXPECT_EQ(Upload(wrong.container), wrong.answer) << wrong.why;
    EXPECT_EQ(lines, std::vector<std::string>{std::string("firmware from ? refused: ") + wrong.why});
    SdkKitFirmware_Stop();
    EXPECT_EQ(slots.told, (Told{{kKitFirmwareFailed, wrong.why}}));
    EXPECT_EQ(slots.tokens, std::set<std::string>{"token"});
    EXPECT_EQ(slots.next, "");
    EXPECT_EQ(slots.opens, slots.closes);
    EXPECT_FALSE(fs::exists("firmware.state"));
  }
}

TEST_F(FirmwareTest, TheSameVersionIsTakenAgain) {
  ASSERT_EQ(Start(), 0);
  EXPECT_EQ(Upload(Container(keys_, "1.2.0", "image")), 0);
  EXPECT_EQ(slots.next, "image");
}

TEST_F(FirmwareTest, ADeviceThatCannotWriteSaysSo) {
  const std::string container = Container(keys_, "1.3.0", "image");
  for (bool Slots::*failing : {&Slots::opensFail, &Slots::writesFail, &Slots::activationFails}) {
    slots = {};
    slots.*failing = true;
    ASSERT_EQ(Start(), 0);
    EXPECT_EQ(Upload(container), -1);
    SdkKitFirmware_Stop();
    EXPECT_EQ(slots.version, "");
    EXPECT_FALSE(fs::exists("firmware.state"));
  }
}

TEST_F(FirmwareTest, OneAtATimeAndNoneBeforeTheRestart) {
  ASSERT_EQ(Start(), 0);
  SdkAPISerHandle table{};
  SdkKitFirmware_Fill(&table);
  const auto first = std::make_unique<UploadFileCtx>();
  EXPECT_EQ(table.UpgradeCb("token", first.get()), 0);
  EXPECT_EQ(table.UpgradeCb("token", first.get()), -1) << "a second file in the same form";
  EXPECT_EQ(Upload(Container(keys_, "1.3.0", "image")), -1) << "another client's";
  SdkKitFirmware_Stop();
  ASSERT_EQ(Start(), 0);
  EXPECT_EQ(Upload(Container(keys_, "1.3.0", "image")), 0);
  EXPECT_EQ(Upload(Container(keys_, "1.4.0", "image")), -1) << "a restart is due";
  EXPECT_EQ(slots.version, "1.3.0");
  EXPECT_EQ(slots.told, (Told{{kKitFirmwareRefused, "a second file"},
                              {kKitFirmwareRefused, "another one is under way"},
                              {kKitFirmwareFailed, "it broke off"},
                              {kKitFirmwareInstalling, ""},
                              {kKitFirmwareInstalled, ""},
                              {kKitFirmwareRefused, "an installed one waits for the restart"}}));
  EXPECT_EQ(slots.tokens, std::set<std::string>{"token"});
}

TEST_F(FirmwareTest, AFirmwareThatConfirmsItselfStays) {
  ASSERT_EQ(Start(), 0);
  EXPECT_EQ(SdkKitFirmware_Trial(), 0);
  EXPECT_EQ(Upload(Container(keys_, "1.3.0", "image")), 0);
  SdkKitFirmware_Stop();
  ASSERT_EQ(Start("1.3.0"), 0);
  EXPECT_EQ(SdkKitFirmware_Trial(), 1);
  EXPECT_EQ(Upload(Container(keys_, "1.4.0", "image")), -1) << "on trial";
  EXPECT_EQ(SdkKitFirmware_Confirm(), 0);
  EXPECT_EQ(SdkKitFirmware_Trial(), 0);
  EXPECT_FALSE(fs::exists("firmware.state"));
  EXPECT_EQ(Upload(Container(keys_, "1.4.0", "image")), 0);
}

TEST_F(FirmwareTest, AFirmwareThatNeverConfirmsItselfIsTakenBack) {
  ASSERT_EQ(Start(), 0);
  EXPECT_EQ(Upload(Container(keys_, "1.3.0", "image")), 0);
  for (int start = 0; start < 3; ++start) {
    SdkKitFirmware_Stop();
    ASSERT_EQ(Start("1.3.0"), 0);
  }
  SdkKitFirmware_Stop();
  EXPECT_EQ(Start("1.3.0"), -1);
  EXPECT_EQ(Start("1.3.0"), -1) << "a kill before the other slot started";
  EXPECT_EQ(slots.rollBacks, 2);
  slots.told.clear();
  EXPECT_EQ(Start("1.2.0"), 0);
  EXPECT_EQ(slots.told, (Told{{kKitFirmwareRolledBack, "it did not confirm itself"}}));
  EXPECT_EQ(SdkKitFirmware_Trial(), 0);
  EXPECT_FALSE(fs::exists("firmware.state"));
}

TEST_F(FirmwareTest, APowerLossBeforeTheSwitchLeavesWhatRan) {
  ASSERT_TRUE(ReplaceFile("firmware.state", R"({"version":"1.3.0","starts":0})"));
  EXPECT_EQ(Start(), 0);
  EXPECT_EQ(lines, std::vector<std::string>{"the installation of version 1.3.0 was interrupted"});
  EXPECT_FALSE(fs::exists("firmware.state"));
}

TEST_F(FirmwareTest, AStateThatCannotBeReadIsNoTrial) {
  for (const char* text :
       {"", "[]", "{}", R"({"version":1,"starts":0})", R"({"version":"1.2.0","starts":"x"})"}) {
    ASSERT_TRUE(ReplaceFile("firmware.state", text));
    EXPECT_EQ(Start(), 0);
    EXPECT_EQ(SdkKitFirmware_Trial(), 0) << text;
    SdkKitFirmware_Stop();
  }
}

TEST_F(FirmwareTest, VersionsAreComparedByTheirNumbers) {
  const std::vector<const char*> order{"0",     "1",    "1.0.0.1", "1.2-alpha", "1.2-beta", "1.2",
                                       "1.9.9", "1.10", "2-rc.1",  "2",         "10"};
  for (std::size_t left = 0; left < order.size(); ++left) {
    for (std::size_t right = 0; right < order.size(); ++right) {
      const int expected = left < right ? -1 : left > right ? 1 : 0;
      EXPECT_EQ(SdkKitFirmware_Version_Compare(order[left], order[right]), expected)
          << order[left] << " " << order[right];
    }
  }
  EXPECT_EQ(SdkKitFirmware_Version_Compare("1.2", "1.2.0"), 0);
  for (const char* wrong : {"", "v1", "1.", ".1", "1..2", "1.2.3.4.5", "1-", "1-a_b", "1 ", "+1",
                            "1234567890", "1.2.3-rc.1234567"}) {
    EXPECT_EQ(Start(wrong), -1) << wrong;
    EXPECT_EQ(SdkKitFirmware_Version_Compare(wrong, "1"), 0) << wrong;
  }
}

TEST_F(FirmwareTest, AKeyIsReadFromItsFile) {
  unsigned char key[kKitFirmwareKeySize];
  const std::string text = Hex(keys_.publicKey, sizeof keys_.publicKey);
  for (const std::string& good : {text, text + "\n", text + "\r\n"}) {
    ASSERT_TRUE(ReplaceFile("key", good));
    EXPECT_EQ(SdkKitFirmware_Key_Read("key", key), 0);
    EXPECT_EQ(std::memcmp(key, keys_.publicKey, sizeof key), 0);
  }
  for (const std::string& bad : {std::string(), text.substr(2), text + "00", text + " x", "x" + text}) {
    ASSERT_TRUE(ReplaceFile("key", bad));
    EXPECT_EQ(SdkKitFirmware_Key_Read("key", key), -1) << bad;
  }
  EXPECT_EQ(SdkKitFirmware_Key_Read("missing", key), -1);
}

TEST_F(FirmwareTest, ABadRecordIsRefused) {
  const auto refuses = [this](auto change) {
    auto options = Options();
    change(options);
    return SdkKitFirmware_Start(&options) == -1;
  };
  EXPECT_EQ(SdkKitFirmware_Start(nullptr), -1);
  EXPECT_TRUE(refuses([](auto& options) { options.size = 8; }));
  EXPECT_TRUE(refuses([](auto& options) { options.keyCount = 0; }));
  EXPECT_TRUE(refuses([](auto& options) { options.model = nullptr; }));
  EXPECT_TRUE(refuses([](auto& options) { options.write = nullptr; }));
  ASSERT_EQ(Start(), 0);
  EXPECT_EQ(Start(), -1) << "started twice";
}

}  // namespace
}  // namespace sdkkit
