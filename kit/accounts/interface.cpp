// The exported functions and the slots: names, records and results; what they do stands in accounts.cpp.
#include <algorithm>
#include <memory>
#include <stdexcept>
#include <string>

#include "accounts/accounts.h"
#include "accounts/guard.h"
#include "accounts/options.h"
#include "accounts/password.h"
#include "accounts/requester.h"
#include "base/guarded.h"
#include "base/record.h"
#include "base/text.h"
#include "sdkapi/server.h"

namespace sdkkit::accounts {
namespace {

InUse<Accounts> inUse;

int RefuseWhoIsGone(const RequesterGone& gone) {
  const SdkAPIExtRequest request = CurrentRequest();
  kLog.Audit({.action = "request",
              .outcome = kKitAuditRefused,
              .object = request.method,
              .target = request.route,
              .reason = gone.what()},
             "refused %s %s from %s: %s", request.method, request.route, request.address, gone.what());
  return kNotAuthorised;
}

// Runs with the accounts; -1 before the start.
template <class Body>
int WithAccounts(Body&& body) {
  return Guarded(kLog, [&] {
    const auto accounts = TheAccounts();
    try {
      return accounts ? static_cast<int>(body(*accounts)) : -1;
    } catch (const RequesterGone& gone) {
      return RefuseWhoIsGone(gone);
    }
  });
}

int AnswerAuthQuery(int* flag) {
  const auto accounts = TheAccounts();
  *flag = accounts && accounts->IsOpen() ? 1 : 0;
  return 0;
}

int LogIn(LoginInfo* info) {
  if (!inUse.IsStarted()) kLog.Error("nobody can log in: it has not been started");
  if (!IsGuarded()) kLog.Warning("SdkKitAccounts_Guard() was not called: no slot asks for a right");
  return WithAccounts([&](Accounts& accounts) {
    accounts.LogIn(*info);
    return 0;
  });
}

// Comes while the library still has the login: one that was never used is not held for one that is yet to
// come.
int LogOut() {
  return WithAccounts([](Accounts& accounts) {
    accounts.sessions().Meet();
    return 0;
  });
}

struct UserAct {
  const char* action;
  const char* words;
};
constexpr UserAct kChange{"change", "change of"};
constexpr UserAct kCreation{"create", "creation of"};
constexpr UserAct kDeletion{"delete", "deletion of"};

void NoteChange(const Session& caller, const UserAct& act, const std::string& name, int code) {
  const std::string shown = IsName(name) ? name : "(no possible name)";
  kLog.Audit({.action = act.action,
              .outcome = code == kKitUserDone ? kKitAuditDone : kKitAuditRefused,
              .object = shown.c_str(),
              .reason = SdkKitAccounts_CodeText(code),
              .user = caller.name.c_str()},
             "%s from %s: %s %s gave code %d", caller.name.c_str(), CurrentRequest().address, act.words,
             shown.c_str(), code);
}

int ChangeUser(const char* token, ChangeUserRequest* request) {
  return WithAccounts([&](Accounts& accounts) {
    const auto caller = accounts.Who(token);
    if (!caller) return kNotAuthorised;
    const std::string subject = request->username[0] != '\0' ? request->username : caller->name;
    if (subject != caller->name && caller->role != accounts.settings().administrator) {
      NoteChange(*caller, kChange, subject, kNotAuthorised);
      return kNotAuthorised;
    }
    request->code = accounts.Change(*caller, token, *request);
    NoteChange(*caller, kChange, subject, request->code);
    return 0;
  });
}

int ManageUser(const char* token, ManageUserRequest* request) {
  constexpr int kCreate = 0;
  return WithAccounts([&](Accounts& accounts) {
    const auto caller = accounts.Who(token);
    if (!caller || caller->role != accounts.settings().administrator) return kNotAuthorised;
    const bool creates = request->action == kCreate;
    request->code = creates ? accounts.Create(request->username, request->password, request->role)
                            : accounts.Delete(request->username);
    NoteChange(*caller, creates ? kCreation : kDeletion, request->username, static_cast<int>(request->code));
    return 0;
  });
}

// Whether a list's arguments are in order.
template <class Record>
bool HasRoom(const Record* records, const std::size_t* count) {
  return count != nullptr && (*count == 0 || IsKnown(records));
}

SdkKitUser Describe(const Accounts& accounts, const std::string& name, int role, int firstLogin) {
  SdkKitUser user{};
  user.role = role;
  user.firstlogin = firstLogin;
  CopyText(user.name, name);
  const Role* const known = accounts.FindRole(role);
  CopyText(user.roleName, known != nullptr ? known->name : "");
  return user;
}

SdkKitSession Describe(const Session& session, const LibraryLogins& logins, std::string_view token) {
  SdkKitSession out{};
  out.role = session.role;
  out.id = session.id;
  out.own = session.hash == HashToken(token) ? 1 : 0;
  CopyText(out.name, session.name);
  CopyText(out.address, session.address);
  const auto found = logins.find(session.hash);
  if (found == logins.end()) return out;
  out.ageSeconds = found->second.ageSeconds;
  out.idleSeconds = found->second.idleSeconds;
  out.webSockets = found->second.webSockets;
  return out;
}

// Whose logins a token's user may see and end: nobody's without a user.
Sessions::Filter VisibleTo(Accounts& accounts, const char* token) {
  if (token == nullptr) return [](const Session&) { return true; };
  const auto asker = accounts.Who(token);
  if (!asker) return nullptr;
  const bool isAdministrator = asker->role == accounts.settings().administrator;
  return [isAdministrator, name = asker->name](const Session& session) {
    return isAdministrator || session.name == name;
  };
}

}  // namespace

InUse<Accounts>::Use TheAccounts() { return inUse.Get(); }

}  // namespace sdkkit::accounts

int SdkKitAccounts_Start(const SdkKitAccountsOptions* options) {
  using namespace sdkkit::accounts;
  return sdkkit::Guarded(kLog, [&] {
    const Options known(options);
    if (inUse.IsStarted()) throw std::invalid_argument("no start: it has been started before");
    StartPasswords();
    const Settings settings = known.ToSettings();
    inUse.Start(std::make_unique<Accounts>(known.OpenDatabase(), settings, known.ToRights()));
    SdkAPISer_AuthenticationSwitch_Set(settings.isOpen ? 0 : 1);
    return 0;
  });
}

void SdkKitAccounts_Fill(SdkAPISerHandle* table) {
  using namespace sdkkit::accounts;
  if (table == nullptr) return;
  table->AuthQueryCb = AnswerAuthQuery;
  table->LoginCb = LogIn;
  table->LogOutCb = LogOut;
  table->ChangeUserInfoCb = ChangeUser;
  table->ManageUserCb = ManageUser;
}

void SdkKitAccounts_Stop(void) {
  using namespace sdkkit::accounts;
  if (!inUse.Stop()) kLog.Error("no stop: it was called by a function that the accounts call");
}

int SdkKitAccounts_Who(const char* token, SdkKitUser* user) {
  using namespace sdkkit::accounts;
  return WithAccounts([&](Accounts& accounts) {
    const auto session = accounts.Who(token != nullptr ? token : "");
    if (!sdkkit::IsKnown(user) || !session) return -1;
    sdkkit::WriteRecord(Describe(accounts, session->name, session->role, session->firstLogin), user);
    return 0;
  });
}

int SdkKitAccounts_List(SdkKitUser* users, size_t* count) {
  using namespace sdkkit::accounts;
  return WithAccounts([&](Accounts& accounts) {
    if (!HasRoom(users, count)) return -1;
    const std::vector<User> all = accounts.users().List();
    for (std::size_t i = 0; i < std::min(all.size(), *count); ++i)
      sdkkit::WriteRecordAt(Describe(accounts, all[i].name, all[i].role, all[i].firstLogin), users, i);
    *count = all.size();
    return 0;
  });
}

int SdkKitAccounts_Create(const char* name, const char* password, int role) {
  using namespace sdkkit::accounts;
  if (name == nullptr || password == nullptr) return -1;
  return WithAccounts([&](Accounts& accounts) { return accounts.Create(name, password, role); });
}

int SdkKitAccounts_Delete(const char* name) {
  using namespace sdkkit::accounts;
  if (name == nullptr) return -1;
  return WithAccounts([&](Accounts& accounts) { return accounts.Delete(name); });
}

int SdkKitAccounts_SetRole(const char* name, int role) {
  using namespace sdkkit::accounts;
  if (name == nullptr) return -1;
  return WithAccounts([&](Accounts& accounts) { return accounts.SetRole(name, role); });
}

int SdkKitAccounts_SetPassword(const char* name, const char* password) {
  using namespace sdkkit::accounts;
  if (name == nullptr || password == nullptr) return -1;
  return WithAccounts([&](Accounts& accounts) { return accounts.SetPassword(name, password); });
}

int SdkKitAccounts_Sessions(const char* token, SdkKitSession* sessions, size_t* count) {
  using namespace sdkkit::accounts;
  return WithAccounts([&](Accounts& accounts) {
    const Sessions::Filter isVisible = VisibleTo(accounts, token);
    if (!HasRoom(sessions, count) || isVisible == nullptr) return -1;
    accounts.sessions().Reconcile();
    const LibraryLogins logins = ListLibraryLogins();
    std::size_t found = 0;
    for (const Session& session : accounts.sessions().List()) {
      if (!isVisible(session)) continue;
      if (found < *count)
        sdkkit::WriteRecordAt(Describe(session, logins, token != nullptr ? token : ""), sessions, found);
      ++found;
    }
    *count = found;
    return 0;
  });
}

int SdkKitAccounts_EndSession(const char* token, uint64_t id) {
  using namespace sdkkit::accounts;
  return WithAccounts([&](Accounts& accounts) {
    const Sessions::Filter isVisible = VisibleTo(accounts, token);
    if (isVisible == nullptr) return -1;
    std::string name;
    const std::size_t ended = accounts.sessions().EndIf(
        [&](const Session& session) {
          if (session.id != id || !isVisible(session)) return false;
          name = session.name;
          return true;
        },
        "ended on request");
    if (ended > 0) {
      kLog.Audit({.action = "end-login", .object = name.c_str()}, "a login was ended on request from %s",
                 sdkkit::CurrentRequest().address);
    }
    return ended > 0 ? 0 : -1;
  });
}

int SdkKitAccounts_Reset(void) {
  using namespace sdkkit::accounts;
  return WithAccounts([](Accounts& accounts) {
    accounts.Reset();
    return 0;
  });
}
