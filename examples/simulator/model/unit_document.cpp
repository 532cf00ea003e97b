// Units as a document: which lists the device takes, and the text of its list.
#include "model/unit_document.h"

#include <arpa/inet.h>

#include <algorithm>
#include <cctype>
#include <string_view>

#include "model/edid.h"
#include "sdkapi/sdkapi.h"
#include "store/names.h"

namespace sim {
namespace {

using nlohmann::json;

bool IsText(const json& unit, const char* member) { return unit.value(member, json()).is_string(); }

bool HasMembers(const json& unit) {
  return unit.is_object() && IsText(unit, "name") && IsText(unit, "type") && IsText(unit, "ip") &&
         IsText(unit, "mac") && IsText(unit, "edid") && IsText(unit, "input") &&
         unit.value("online", json()).is_boolean() && unit.value("locked", json(false)).is_boolean();
}

bool IsAddress(const std::string& text) {
  in_addr address{};
  return inet_pton(AF_INET, text.c_str(), &address) == 1;
}

bool IsMac(const std::string& text) {
  constexpr std::string_view kForm = "xx:xx:xx:xx:xx:xx";
  return text.size() == kForm.size() &&
         std::equal(text.begin(), text.end(), kForm.begin(), [](char c, char form) {
           return form == ':' ? c == ':' : std::isxdigit(static_cast<unsigned char>(c)) != 0;
         });
}

// An empty text for a receiver's transmitter in the same list.
std::string InputFault(const json& units, const json& unit) {
  if (unit["input"].get<std::string>().empty()) return "";
  if (unit["type"] != "rx") return "an input of what is no receiver";
  const bool found = std::any_of(units.begin(), units.end(), [&](const json& other) {
    return other["name"] == unit["input"] && other["type"] == "tx";
  });
  return found ? "" : "an input that is no transmitter";
}

std::string UnitFault(const json& unit) {
  if (!HasMembers(unit)) return "a unit without its members";
  if (!IsName(unit["name"].get<std::string>())) return "a bad name";
  if (unit["type"] != "tx" && unit["type"] != "rx") return "a bad type";
  if (!IsAddress(unit["ip"])) return "a bad address";
  if (!IsMac(unit["mac"])) return "a bad MAC address";
  if (unit["type"] == "tx" && unit.value("locked", false)) return "a lock of what is no receiver";
  return EdidFault(unit["edid"]).empty() ? "" : "a bad EDID";
}

}  // namespace

// Clients of the fixed interface have known these members from the beginning, and its text has an end.
std::string UnitListText(json units) {
  for (json& unit : units) {
    if (unit.is_object()) unit.erase("locked");
  }
  return units.dump(-1, ' ', true);
}

std::string UnitsFault(const json& units) {
  if (!units.is_array() || units.empty()) return "no list of units";
  if (UnitListText(units).size() >= kTxRxListSize) return "too many units";
  for (const json& unit : units) {
    if (std::string fault = UnitFault(unit); !fault.empty()) return fault;
  }
  if (!HaveOwnNames(units)) return "a name twice";
  for (const json& unit : units) {
    if (std::string fault = InputFault(units, unit); !fault.empty()) return fault;
  }
  return "";
}

}  // namespace sim
