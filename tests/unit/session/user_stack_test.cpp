// The session stack: its 20 places, expiry times and the time-out loop.
#include "session/user_stack.h"

#include "library_fixture.h"

namespace {

using sdktest::Strings;
using sdktest::System;

std::vector<std::string> expired;
int timeoutResult = 0;

int NoteExpired(const char* userid) {
  expired.emplace_back(userid);
  return timeoutResult;
}

std::string Id(int number) { return "id" + std::to_string(number); }

class UserStackTest : public sdktest::LibraryTest {
 protected:
  UserStackTest() {
    expired.clear();
    timeoutResult = 0;
    InitUsrIdStack(NoteExpired);
  }

  static Strings Ids() {
    Strings ids;
    for (const sdkapi::UserEntry& entry : sdkapi::UserTableSnapshot().entries) ids.emplace_back(entry.id);
    return ids;
  }
  static int64_t Expiry(std::size_t index) { return sdkapi::UserTableSnapshot().entries[index].expiry; }
  static void Fill() {
    for (int number = 0; number < 20; ++number) EXPECT_EQ(AddUsrIdToStack(Id(number).c_str()), 0);
  }

  // Runs the loop for some rounds; the pause of the last one ends it.
  static void RunRounds(int rounds) {
    System().onSleep = [rounds, round = 0](unsigned microseconds) mutable {
      EXPECT_EQ(microseconds, 1000000U);
      if (++round == rounds) UnInitUsrIdStack();
    };
    EXPECT_EQ(sdkapi::CheckUsrIdStack(nullptr), 0);
  }
};

TEST_F(UserStackTest, UpTimeIsTheSystems) {
  System().upTime = 4711;
  int64_t seconds = -1;
  EXPECT_EQ(GetUpTime(&seconds), 0);
  EXPECT_EQ(seconds, 4711);
  EXPECT_EQ(Log(), Strings{});
}

TEST_F(UserStackTest, UpTimeFailureGivesZeroAndALine) {
  System().failSysinfo = true;
  int64_t seconds = -1;
  EXPECT_EQ(GetUpTime(&seconds), -1);
  EXPECT_EQ(seconds, 0);
  EXPECT_EQ(Log(), Strings{"4 user Failed to get sysinfo"});
}

TEST_F(UserStackTest, AnAddTakesTheFirstPlaceFor12Hours) {
  System().upTime = 5000;
  EXPECT_EQ(AddUsrIdToStack("one"), 0);
  EXPECT_EQ(Ids()[0], "one");
  EXPECT_EQ(Expiry(0), 48200);
}

TEST_F(UserStackTest, TheSameIdTakesTwoPlaces) {
  EXPECT_EQ(AddUsrIdToStack("one"), 0);
  EXPECT_EQ(AddUsrIdToStack("one"), 0);
  EXPECT_EQ(Ids()[1], "one");
}

TEST_F(UserStackTest, The21stIsRefusedAndTheTableStays) {
  Fill();
  const Strings before = Ids();
  EXPECT_EQ(AddUsrIdToStack("more"), 100);
  EXPECT_EQ(Ids(), before);
  EXPECT_EQ(Log(), Strings{"4 user The maximum number of users exceeded."});
}

TEST_F(UserStackTest, AFreedPlaceIsTakenNext) {
  Fill();
  EXPECT_EQ(DelUsrIdStack("id3"), 0);
  EXPECT_EQ(Ids()[3], "");
  EXPECT_EQ(Expiry(3), 0);
  EXPECT_EQ(AddUsrIdToStack("new"), 0);
  EXPECT_EQ(Ids()[3], "new");
}

using IdFunction = int (*)(const char*);
class IdLengthTest : public UserStackTest, public testing::WithParamInterface<IdFunction> {};

TEST_P(IdLengthTest, NullEmptyAndOver1024CharactersAreRefused) {
  EXPECT_EQ(GetParam()(nullptr), -1);
  EXPECT_EQ(GetParam()(""), -1);
  EXPECT_EQ(GetParam()(std::string(1025, 'i').c_str()), -1);
  EXPECT_EQ(GetParam()(std::string(5000, 'i').c_str()), -1);
  EXPECT_EQ(Ids(), Strings(20));
  EXPECT_EQ(GetParam()(std::string(1024, 'i').c_str()), 0);
  EXPECT_EQ(GetParam()("i"), 0);
}

INSTANTIATE_TEST_SUITE_P(Functions, IdLengthTest,
                         testing::Values(AddUsrIdToStack, UpdateUsrIdStack, DelUsrIdStack));

class LongIdTest : public UserStackTest, public testing::WithParamInterface<std::size_t> {};

TEST_P(LongIdTest, IsStoredAndFoundByItsFirst255Characters) {
  const std::string id(GetParam(), 'i');
  EXPECT_EQ(AddUsrIdToStack(id.c_str()), 0);
  EXPECT_EQ(AddUsrIdToStack("next"), 0);
  EXPECT_EQ(Ids()[0], id.substr(0, 255));
  EXPECT_EQ(Ids()[1], "next");
  System().upTime = 2000;
  EXPECT_EQ(UpdateUsrIdStack(id.c_str()), 0);
  EXPECT_EQ(Expiry(0), 45200);
  EXPECT_EQ(DelUsrIdStack(id.c_str()), 0);
  EXPECT_EQ(Ids()[0], "");
}

INSTANTIATE_TEST_SUITE_P(Lengths, LongIdTest, testing::Values(1U, 254U, 255U, 256U, 257U, 1023U, 1024U));

TEST_F(UserStackTest, UpdateRenewsTheFirstOfTwo) {
  AddUsrIdToStack("one");
  AddUsrIdToStack("one");
  System().upTime = 2000;
  EXPECT_EQ(UpdateUsrIdStack("one"), 0);
  EXPECT_EQ(Expiry(0), 45200);
  EXPECT_EQ(Expiry(1), 44200);
}

TEST_F(UserStackTest, DeleteRemovesTheFirstOfTwoAndAllItsBytes) {
  AddUsrIdToStack("one");
  AddUsrIdToStack("one");
  EXPECT_EQ(DelUsrIdStack("one"), 0);
  EXPECT_EQ(Ids()[0], "");
  EXPECT_EQ(Ids()[1], "one");
  const sdkapi::UserEntry entry = sdkapi::UserTableSnapshot().entries[0];
  EXPECT_EQ(std::string(entry.id, sizeof entry.id), std::string(256, '\0'));
}

TEST_F(UserStackTest, AbsentIdsAreNoFailure) {
  EXPECT_EQ(UpdateUsrIdStack("nobody"), 0);
  EXPECT_EQ(DelUsrIdStack("nobody"), 0);
  AddUsrIdToStack("somebody");
  EXPECT_EQ(DelUsrIdStack("some"), 0);
  EXPECT_EQ(DelUsrIdStack("somebodyelse"), 0);
  EXPECT_EQ(Ids()[0], "somebody");
}

TEST_F(UserStackTest, InitEmptiesTheTable) {
  Fill();
  EXPECT_EQ(InitUsrIdStack(nullptr), 0);
  EXPECT_EQ(Ids(), Strings(20));
  EXPECT_EQ(Expiry(0), 0);
}

TEST_F(UserStackTest, UnInitKeepsTheTable) {
  Fill();
  EXPECT_EQ(UnInitUsrIdStack(), 0);
  EXPECT_EQ(Ids()[19], "id19");
}

TEST_F(UserStackTest, TheLoopExpiresWhatIsStrictlyOverdue) {
  System().upTime = 1000;
  AddUsrIdToStack("old");
  System().upTime = 1001;
  AddUsrIdToStack("young");
  System().upTime = 1001 + 43200;  // young ends exactly now
  RunRounds(1);
  EXPECT_EQ(expired, Strings{"old"});
  EXPECT_EQ(Ids()[0], "");
  EXPECT_EQ(Ids()[1], "young");
}

TEST_F(UserStackTest, TheLoopKeepsWhatTheCallbackKeepsAndAsksAgainNextRound) {
  AddUsrIdToStack("old");
  System().upTime = 100000;
  timeoutResult = -1;
  RunRounds(3);
  EXPECT_EQ(expired, (Strings{"old", "old", "old"}));
  EXPECT_EQ(Ids()[0], "old");
}

TEST_F(UserStackTest, AnyOtherResultRemoves) {
  timeoutResult = -2;
  AddUsrIdToStack("old");
  System().upTime = 100000;
  RunRounds(2);
  EXPECT_EQ(expired, Strings{"old"});
  EXPECT_EQ(Ids()[0], "");
}

TEST_F(UserStackTest, ANullCallbackKeepsTheEarlierOne) {
  InitUsrIdStack(nullptr);
  AddUsrIdToStack("old");
  System().upTime = 100000;
  RunRounds(1);
  EXPECT_EQ(expired, Strings{"old"});
}

TEST_F(UserStackTest, TheLoopDoesNotRunAfterUnInit) {
  UnInitUsrIdStack();
  System().onSleep = [](unsigned) { FAIL() << "no round was due"; };
  EXPECT_EQ(sdkapi::CheckUsrIdStack(nullptr), 0);
}

TEST_F(UserStackTest, TheLoopFinishesARoundThatHasBegun) {
  AddUsrIdToStack("one");
  AddUsrIdToStack("two");
  System().upTime = 100000;
  RunRounds(1);
  EXPECT_EQ(expired, (Strings{"one", "two"}));
}

}  // namespace
