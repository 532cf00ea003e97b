// Acts: what the kit says of who did what, and what clients switch, whichever way the command came.
#include "slots/acts.h"

#include <sdkapi/kit_audit.h>

#include <string_view>

#include "bus/events.h"
#include "model/audit.h"
#include "slots/slot_guard.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr std::string_view kSetUnit = "set-unit-";

// The event says no more than that there is an act: everybody hears it, not everybody may know what it was.
void Take(const SdkKitAuditEntry* entry) {
  Guarded([&] {
    const uint64_t newest =
        KeepAct({entry->outcome == kKitAuditDone, entry->subject, entry->action, entry->user, entry->address,
                 entry->object, entry->target, entry->reason});
    Publish({{"type", "audit"}, {"newest", newest}});
    return 0;
  });
}

std::string TextOf(const json& object, const std::string& member) {
  if (member == "edid") return "";  // hundreds of digits, which say nothing to a reader
  const json value = object.value(member, json());
  if (value.is_string()) return value;
  return value.is_boolean() ? value.dump() : "";
}

void Note(const std::string& action, const std::string& object, const std::string& target,
          const std::string& reason) {
  NoteAct("device", action, object, target, reason);
}

}  // namespace

void StartActs() {
  StartAudit();
  SdkKitAudit_Set(Take);
}

void StopActs() { SdkKitAudit_Set(nullptr); }

void NoteAct(const char* subject, const std::string& action, const std::string& object,
             const std::string& target, const std::string& reason) {
  SdkKitAuditEntry entry{};
  entry.size = sizeof entry;
  entry.outcome = reason.empty() ? kKitAuditDone : kKitAuditRefused;
  entry.subject = subject;
  entry.action = action.c_str();
  entry.object = object.c_str();
  entry.target = target.c_str();
  entry.reason = reason.c_str();
  SdkKitAudit_Write(&entry);
}

void NoteCommand(const std::string& type, const json& message, const std::string& reason) {
  if (type == "set-routes" && reason.empty()) {
    for (const auto& [receiver, transmitter] : message["routes"].items())
      Note("set-unit-input", receiver, transmitter, reason);
    return;
  }
  if (!type.starts_with(kSetUnit)) return Note(type, TextOf(message, "name"), TextOf(message, "to"), reason);
  Note(type, TextOf(message, "unit"), TextOf(message, type.substr(kSetUnit.size())), reason);
}

void NoteUnitChange(const std::string& unit, const json& change, const std::string& reason) {
  for (const char* const member : {"name", "online", "input", "locked", "edid"}) {
    if (change.contains(member)) Note(std::string(kSetUnit) + member, unit, TextOf(change, member), reason);
  }
}

}  // namespace sim
