// Acts: the record beside an audit line, bounded, clean, and with who asks.
#include "base/audit.h"

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "base/log.h"
#include "sdkapi/kit_audit.h"

namespace sdkkit {
namespace {

struct Kept {
  int outcome;
  std::string subject, action, user, address, object, target, reason;
  bool operator==(const Kept&) const = default;
};

std::vector<Kept>& Acts() {
  static std::vector<Kept> acts;
  return acts;
}

std::vector<std::string>& Lines() {
  static std::vector<std::string> lines;
  return lines;
}

class AuditTest : public testing::Test {
 protected:
  AuditTest() {
    Acts().clear();
    Lines().clear();
    SdkKitAudit_Set([](const SdkKitAuditEntry* entry) {
      Acts().push_back({entry->outcome, entry->subject, entry->action, entry->user, entry->address,
                        entry->object, entry->target, entry->reason});
    });
    SdkKitLog_Set([](int level, const char* subject, const char* text) {
      Lines().push_back(std::to_string(level) + " " + subject + ": " + text);
    });
  }
  ~AuditTest() override {
    SdkKitAudit_Set(nullptr);
    SdkKitLog_Set(nullptr);
  }

  static SdkKitAuditEntry Entry() {
    SdkKitAuditEntry entry{};
    entry.size = sizeof entry;
    entry.subject = "host";
    entry.action = "switch";
    return entry;
  }

  const Log log_{"subject"};
};

TEST_F(AuditTest, AnAuditLineComesWithItsRecord) {
  log_.Audit({.action = "upload",
              .object = "a.png",
              .target = "/upload/logo",
              .user = "kim",
              .address = "192.0.2.7"},
             "%s uploaded", "kim");
  EXPECT_EQ(Lines(), (std::vector<std::string>{"2 subject: kim uploaded"}));
  EXPECT_EQ(Acts(),
            (std::vector<Kept>{{0, "subject", "upload", "kim", "192.0.2.7", "a.png", "/upload/logo", ""}}));
}

TEST_F(AuditTest, OnAThreadWithoutRequestNobodyAsks) {
  NoteRequester({}, "kim");
  log_.Audit({.action = "finish"}, "finished");
  EXPECT_EQ(Acts(), (std::vector<Kept>{{0, "subject", "finish", "", "", "", "", ""}}));
}

TEST_F(AuditTest, AClientsTextCannotBeMoreThanText) {
  log_.Audit({.action = "upload", .object = "a\r\n2026-01-01 A\x1b[2K\x7f"}, "one");
  log_.Audit({.action = "upload", .object = std::string(300, 'x').c_str()}, "two");
  log_.Audit({.action = "upload", .object = (std::string(254, 'x') + "\u00e9").c_str()}, "three");
  log_.Audit({.action = "upload", .object = (std::string(253, 'x') + "\u00e9\u00e9").c_str()}, "four");
  ASSERT_EQ(Acts().size(), 4U);
  EXPECT_EQ(Acts()[0].object, "a??2026-01-01 A?[2K?");
  EXPECT_EQ(Acts()[1].object, std::string(255, 'x'));
  EXPECT_EQ(Acts()[2].object, std::string(254, 'x'));
  EXPECT_EQ(Acts()[3].object, std::string(253, 'x') + "\u00e9");
}

TEST_F(AuditTest, AHostWritesItsOwn) {
  SdkKitAuditEntry entry = Entry();
  entry.user = "kim";
  entry.address = "192.0.2.7";
  entry.object = "RX01";
  entry.target = "TX02";
  EXPECT_EQ(SdkKitAudit_Write(&entry), 0);
  entry.outcome = kKitAuditRefused;
  entry.reason = "it is locked";
  EXPECT_EQ(SdkKitAudit_Write(&entry), 0);
  EXPECT_EQ(Lines(), (std::vector<std::string>{
                         R"(2 host: kim from 192.0.2.7: switch "RX01" (TX02))",
                         R"(2 host: kim from 192.0.2.7: switch "RX01" (TX02) refused: it is locked)"}));
  EXPECT_EQ(Acts(),
            (std::vector<Kept>{{0, "host", "switch", "kim", "192.0.2.7", "RX01", "TX02", ""},
                               {1, "host", "switch", "kim", "192.0.2.7", "RX01", "TX02", "it is locked"}}));
}

TEST_F(AuditTest, AHostsTextsMayBeMissing) {
  const SdkKitAuditEntry entry = Entry();
  EXPECT_EQ(SdkKitAudit_Write(&entry), 0);
  EXPECT_EQ(Lines(), (std::vector<std::string>{R"(2 host: nobody from the device itself: switch "" ())"}));
  EXPECT_EQ(Acts(), (std::vector<Kept>{{0, "host", "switch", "", "", "", "", ""}}));
}

TEST_F(AuditTest, WhatMakesNoSenseIsRefused) {
  const auto isRefused = [](auto change) {
    SdkKitAuditEntry entry = Entry();
    change(entry);
    return SdkKitAudit_Write(&entry) == -1;
  };
  EXPECT_EQ(SdkKitAudit_Write(nullptr), -1);
  EXPECT_TRUE(isRefused([](SdkKitAuditEntry& entry) { entry.size = 8; }));
  EXPECT_TRUE(isRefused([](SdkKitAuditEntry& entry) { entry.outcome = 2; }));
  EXPECT_TRUE(isRefused([](SdkKitAuditEntry& entry) { entry.subject = nullptr; }));
  EXPECT_TRUE(isRefused([](SdkKitAuditEntry& entry) { entry.action = nullptr; }));
  EXPECT_TRUE(Acts().empty() && Lines().empty());
}

}  // namespace
}  // namespace sdkkit
