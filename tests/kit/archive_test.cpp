// The settings as one archive: what goes out comes in again, what is wrong changes nothing, what was begun is
// finished.
#include <gtest/gtest.h>

#include <cstring>
#include <filesystem>
#include <map>
#include <string>
#include <vector>

#include "archive/zip.h"
#include "base/file.h"
#include "base/log.h"
#include "sdkapi/kit_archive.h"

namespace sdkkit {
namespace {

namespace fs = std::filesystem;
using archive::ZipWriter;
using Entries = std::vector<std::pair<std::string, std::string>>;

constexpr const char* kManifest = R"({"format":"test-1","method":"full"})";

// The device: two documents that change together, and files.
struct Device {
  std::map<std::string, std::string> documents{{"units.json", "[1]"}, {"note.txt", "hello"}};
  std::map<std::string, std::string> changing;
  bool applies = true;
  int commitsFail = 0;
  std::vector<int> done;
} device;

int MakeText(SdkKitArchiveText* text, const char* name) {
  const std::string& bytes = device.documents[name];
  return SdkKitArchive_Text_Add(text, bytes.data(), bytes.size());
}
int MakeUnits(SdkKitArchiveText* text) { return MakeText(text, "units.json"); }
int MakeNote(SdkKitArchiveText* text) { return MakeText(text, "note.txt"); }
int FactoryUnits(SdkKitArchiveText* text) { return SdkKitArchive_Text_Add(text, "[0]", 3); }

int CheckUnits(const char* text, size_t, char* why, size_t whySize) {
  if (text[0] == '[') return 0;
  std::snprintf(why, whySize, "%s", "no list");
  return -1;
}
int ApplyUnits(const char* text, size_t length) {
  device.changing["units.json"].assign(text, length);
  return device.applies ? 0 : -1;
}
int ApplyNote(const char* text, size_t length) {
  device.changing["note.txt"].assign(text, length);
  return 0;
}
int BeginChange() {
  device.changing = device.documents;
  return 0;
}
int EndChange(int commit) {
  if (commit == 0) return 0;
  if (device.commitsFail > 0) return --device.commitsFail, -1;
  device.documents = device.changing;
  return 0;
}
void Done(int act) { device.done.push_back(act); }

int CheckPicture(const char* path, char* why, size_t whySize) {
  if (ReadFile(path, 100).value_or("").starts_with("picture")) return 0;
  std::snprintf(why, whySize, "%s", "no picture");
  return -1;
}

constexpr SdkKitArchiveMethod kMethods[] = {{"full", 1, 0}, {"units", 2, 0}};
constexpr SdkKitArchiveDocument kDocuments[] = {
    {"units.json", 3, 5800, MakeUnits, FactoryUnits, CheckUnits, ApplyUnits},
    {"note.txt", 1, 100, MakeNote, nullptr, nullptr, ApplyNote}};
constexpr SdkKitArchiveFile kFiles[] = {{"files/logo", 1, 0, 100, CheckPicture, 0, 0},
                                        {"files/priv/", 1, 3, 100, CheckPicture, 0, 0},
                                        {"files/scratch", 0, 0, 0, nullptr, 0, 0},
                                        {"files/serial", 0, 0, 0, nullptr, 1, 0}};

SdkKitArchiveOptions Options() {
  SdkKitArchiveOptions options{};
  options.size = sizeof options;
  options.format = "test-1";
  options.root = "data";
  options.most = 6000;
  options.methods = kMethods;
  options.methodCount = std::size(kMethods);
  options.methodSize = sizeof *kMethods;
  options.documentSize = sizeof *kDocuments;
  options.fileSize = sizeof *kFiles;
  options.documents = kDocuments;
  options.documentCount = std::size(kDocuments);
  options.files = kFiles;
  options.fileCount = std::size(kFiles);
  options.begin = BeginChange;
  options.end = EndChange;
  options.done = Done;
  return options;
}

void WriteZip(const std::string& path, const Entries& entries) {
  auto file = TempFile::Create(".");
  auto writer = ZipWriter::Open(file->descriptor());
  for (const auto& [name, bytes] : entries) ASSERT_TRUE(writer->Add(name, bytes));
  ASSERT_TRUE(writer->Close() && file->CommitTo(path));
}

class ArchiveTest : public testing::Test {
 protected:
  ArchiveTest()
      : folder_(fs::temp_directory_path() / ("archive." + std::to_string(getpid()))),
        before_(fs::current_path()) {
    fs::remove_all(folder_);
    fs::create_directories(folder_ / "data/files/priv");
    fs::current_path(folder_);
    device = {};
    Store("logo", "picture 1");
    Store("priv/a.png", "picture a");
    Store("scratch", "anything");
    Store("serial", "4711");
  }
  ~ArchiveTest() override {
    SdkKitArchive_Stop();
    fs::current_path(before_);
    fs::remove_all(folder_);
  }

  static void Start() {
    const auto options = Options();
    ASSERT_EQ(SdkKitArchive_Start(&options), 0);
  }
  static void Store(const std::string& name, const std::string& bytes) {
    ASSERT_TRUE(ReplaceFile("data/files/" + name, bytes));
  }

  // Everything that a client can see.
  static std::map<std::string, std::string> State() {
    auto state = device.documents;
    for (const auto& entry : fs::recursive_directory_iterator("data/files")) {
      if (entry.is_regular_file())
        state[entry.path().string()] = ReadFile(entry.path().string(), 1000).value_or("unreadable");
    }
    return state;
  }

  static std::string Export(const char* method) {
    char path[256];
    return SdkKitArchive_Export(method, path, sizeof path) == 0 ? path : "none";
  }

  // An empty text for an import that was done.
  static std::string Import(const std::string& path) {
    char why[256] = "";
    return SdkKitArchive_Import(path.c_str(), why, sizeof why) == 0 ? "" : why;
  }
  static std::string ImportOf(const Entries& entries) {
    WriteZip("in.zip", entries);
    return Import("in.zip");
  }

  static bool StagesNothing() { return fs::is_empty("data/staging/change"); }

  fs::path folder_;
  fs::path before_;
};

TEST_F(ArchiveTest, WhatGoesOutComesInAgain) {
  Start();
  const auto before = State();
  fs::copy_file(Export("full"), "backup.zip");
  device.documents = {{"units.json", "[2]"}, {"note.txt", ""}};
  Store("logo", "picture 2");
  fs::remove("data/files/priv/a.png");
  EXPECT_EQ(Import("backup.zip"), "");
  EXPECT_EQ(State(), before);
  EXPECT_EQ(device.done, std::vector<int>{kKitArchiveImport});
  EXPECT_TRUE(StagesNothing());
}

TEST_F(ArchiveTest, AMethodHoldsItsPartsAndTheRestStays) {
  Start();
  fs::copy_file(Export("units"), "backup.zip");
  device.documents = {{"units.json", "[2]"}, {"note.txt", "new"}};
  Store("logo", "picture 2");
  EXPECT_EQ(Import("backup.zip"), "");
  EXPECT_EQ(device.documents,
            (std::map<std::string, std::string>{{"units.json", "[1]"}, {"note.txt", "new"}}));
  EXPECT_EQ(ReadFile("data/files/logo", 100), "picture 2");
}

TEST_F(ArchiveTest, ARestoreMakesFactoryState) {
  Start();
  EXPECT_EQ(SdkKitArchive_Restore(), 0);
  EXPECT_EQ(State(), (std::map<std::string, std::string>{
                         {"units.json", "[0]"}, {"note.txt", "hello"}, {"data/files/serial", "4711"}}));
  EXPECT_EQ(device.done, std::vector<int>{kKitArchiveRestore});
}

TEST_F(ArchiveTest, AnArchiveThatIsNotInOrderChangesNothing) {
  Start();
  const auto before = State();
  const std::pair<std::string, std::string> manifest{"manifest.json", kManifest};
  const std::string big(101, 'x');
  const std::string deep = std::string(500, '[') + std::string(500, ']');
  const struct {
    Entries entries;
    const char* why;
  } cases[] = {
      {{}, "no manifest"},
      {{{"units.json", "[9]"}}, "no manifest"},
      {{{"manifest.json", R"({"format":"other-1"})"}}, "manifest.json: of another device or format"},
      {{{"manifest.json", "[]"}}, "manifest.json: no JSON object"},
      {{{"manifest.json", std::string(5000, ' ')}}, "manifest.json: more than 4096 bytes"},
      {{manifest, {"units.json", "[9]"}, {"units.json", "[8]"}}, "units.json: twice in the archive"},
      {{manifest, manifest}, "manifest.json: twice in the archive"},
      {{manifest, {"units.json", "{}"}}, "units.json: no list"},
      {{manifest, {"units.json", "[9"}}, "units.json: no JSON at byte 3"},
      {{manifest, {"units.json", deep}}, "units.json: more than 32 levels deep"},
      {{manifest, {"units.json", "[" + std::string(5800, ' ') + "]"}}, "units.json: more than 5800 bytes"},
      {{manifest, {"note.txt", big}}, "note.txt: more than 100 bytes"},
      {{manifest, {"note.txt", "x"}, {"files/logo", "tune"}}, "files/logo: no picture"},
      {{manifest, {"files/logo", "picture" + big}}, "files/logo: more than 100 bytes"},
      {{manifest, {"files/scratch", "x"}}, "files/scratch: unknown"},
      {{manifest, {"files/serial", "x"}}, "files/serial: unknown"},
      {{manifest, {"files/priv/../serial", "picture"}}, "files/priv/../serial: unknown"},
      {{manifest, {"files/priv/", "picture"}}, "a broken archive, or something else than files in it"},
      {{manifest, {"files/priv/.hidden", "picture"}}, "files/priv/.hidden: unknown"},
      {{manifest, {"/files/logo", "picture"}}, "/files/logo: unknown"},
      {{manifest, {"files/priv/b", "picture"}, {"files/priv/c", "picture"}, {"files/priv/d", "picture"}},
       "files/priv/: more than 3 files"},
      {{manifest,
        {"units.json", "[" + std::string(5780, ' ') + "]"},
        {"note.txt", std::string(100, 'x')},
        {"files/logo", "picture" + std::string(93, 'x')},
        {"files/priv/b", "picture" + std::string(93, 'x')}},
       "files/priv/b: more than 6000 bytes in all"},
      {{manifest,
        {"units.json", "[" + std::string(5780, ' ') + "]"},
        {"note.txt", std::string(100, 'x')},
        {"files/logo", "picture" + std::string(93, 'x')},
        {"files/priv/b", "picture123"}},
       "with what is stored more than 6000 bytes"},
  };
  for (const auto& wrong : cases) {
    EXPECT_EQ(ImportOf(wrong.entries), wrong.why);
    EXPECT_EQ(State(), before) << wrong.why;
    EXPECT_TRUE(StagesNothing()) << wrong.why;
  }
  EXPECT_TRUE(device.done.empty());
}

TEST_F(ArchiveTest, AnArchiveThatWasCutIsRefused) {
  Start();
  const std::string whole = *ReadFile(Export("full"), 10000);
  for (std::size_t length = 0; length < whole.size(); ++length) {
    ASSERT_TRUE(ReplaceFile("cut.zip", whole.substr(0, length)));
    EXPECT_NE(Import("cut.zip"), "") << length;
  }
  EXPECT_TRUE(device.done.empty());
}

TEST_F(ArchiveTest, SettingsBeyondTheirBoundsAreNotExported) {
  Start();
  device.documents["note.txt"] = std::string(101, 'x');
  EXPECT_EQ(Export("full"), "none");
  EXPECT_NE(Export("units"), "none");
  device.documents["note.txt"] = "x";
  device.documents["units.json"] = "{}";
  EXPECT_EQ(Export("full"), "none");
  EXPECT_EQ(Export("other"), "none");
}

TEST_F(ArchiveTest, AStoredFileThatNoImportTakesIsLeftOut) {
  Start();
  Store("priv/song", "tune");
  fs::copy_file(Export("full"), "backup.zip");
  fs::remove("data/files/priv/song");
  EXPECT_EQ(Import("backup.zip"), "");
  EXPECT_FALSE(fs::exists("data/files/priv/song"));
}

TEST_F(ArchiveTest, WhatCannotBeAppliedChangesNothing) {
  Start();
  const auto before = State();
  device.applies = false;
  EXPECT_EQ(ImportOf({{"manifest.json", kManifest}, {"units.json", "[9]"}, {"files/logo", "picture 9"}}),
            "it could not be applied");
  EXPECT_EQ(State(), before);
  EXPECT_TRUE(StagesNothing());
}

TEST_F(ArchiveTest, ACommitThatFailsOnceIsTriedAgain) {
  Start();
  device.commitsFail = 2;
  EXPECT_EQ(ImportOf({{"manifest.json", kManifest}, {"units.json", "[9]"}, {"files/logo", "picture 9"}}), "");
  EXPECT_EQ(device.documents["units.json"], "[9]");
}

TEST_F(ArchiveTest, AChangeThatIsWrittenDownIsFinishedAtTheNextStart) {
  Start();
  device.commitsFail = 1000;
  EXPECT_EQ(ImportOf({{"manifest.json", kManifest}, {"units.json", "[9]"}, {"files/logo", "picture 9"}}),
            "it is begun, and goes on when the storage works again");
  EXPECT_EQ(Import("in.zip"), "an earlier change is not finished yet");
  EXPECT_EQ(SdkKitArchive_Restore(), -1);
  SdkKitArchive_Stop();
  device.commitsFail = 0;
  Start();
  EXPECT_EQ(device.documents["units.json"], "[9]");
  EXPECT_EQ(ReadFile("data/files/logo", 100), "picture 9");
  EXPECT_EQ(device.done, std::vector<int>{kKitArchiveImport});
  EXPECT_TRUE(StagesNothing());
}

TEST_F(ArchiveTest, AChangeThatIsNotWrittenDownIsThrownAway) {
  fs::create_directories("data/staging/change");
  ASSERT_TRUE(ReplaceFile("data/staging/change/part-0", "[9]"));
  const auto before = State();
  Start();
  EXPECT_EQ(State(), before);
  EXPECT_TRUE(StagesNothing());
}

TEST_F(ArchiveTest, AJournalThatCannotBeReadIsDropped) {
  for (const char* journal :
       {"", "{}", "[", R"({"act":2,"steps":[{"do":"fly","entry":"x","staged":"y"}]})",
        R"({"act":2,"steps":[{"do":"document","entry":"units.json","staged":"part-0"}]})"}) {
    fs::create_directories("data/staging/change");
    ASSERT_TRUE(ReplaceFile("data/staging/change/part-0", "no json"));
    ASSERT_TRUE(ReplaceFile("data/staging/change/journal", journal));
    const auto before = State();
    Start();
    EXPECT_EQ(State(), before);
    SdkKitArchive_Stop();
  }
}

TEST_F(ArchiveTest, ABadRecordIsRefused) {
  const auto refuses = [](auto change) {
    auto options = Options();
    change(options);
    return SdkKitArchive_Start(&options) == -1;
  };
  EXPECT_EQ(SdkKitArchive_Start(nullptr), -1);
  EXPECT_TRUE(refuses([](auto& options) { options.size = 8; }));
  EXPECT_TRUE(refuses([](auto& options) { options.methodCount = 0; }));
  EXPECT_TRUE(refuses([](auto& options) { options.staging = "../elsewhere"; }));
  EXPECT_TRUE(refuses([](auto& options) { options.end = nullptr; }));
  EXPECT_TRUE(refuses([](auto& options) { options.documents = nullptr; }));
  EXPECT_TRUE(refuses([](auto& options) { options.methodSize -= 8; }));
  EXPECT_TRUE(refuses([](auto& options) { options.documentSize = 0; }));
  EXPECT_TRUE(refuses([](auto& options) { options.fileSize += 8; }));
  Start();
  EXPECT_TRUE(refuses([](auto&) {})) << "started twice";
}

TEST_F(ArchiveTest, BeforeTheStartEverythingIsRefused) {
  EXPECT_EQ(Export("full"), "none");
  EXPECT_EQ(Import("in.zip"), "it has not been started");
  EXPECT_EQ(SdkKitArchive_Restore(), -1);
  EXPECT_EQ(SdkKitArchive_Most(), 0U);
}

}  // namespace
}  // namespace sdkkit
