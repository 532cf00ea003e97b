// Who did what on this device: the newest acts.
#pragma once

#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>

namespace sim {

struct Act {
  bool done;
  std::string subject, action, user, address, object, target, reason;
};

// The list begins anew.
void StartAudit();

// The number of the act, which is the newest now.
uint64_t KeepAct(const Act& act);

// The acts that are newer than this number, oldest first; 0: all. Of one user, or of everybody.
nlohmann::json AuditSince(uint64_t number, const std::optional<std::string>& user);

}  // namespace sim
