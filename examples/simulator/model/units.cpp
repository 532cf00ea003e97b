// The transmitter and receiver units that the device manages.
#include "model/units.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "bus/events.h"
#include "model/edid.h"
#include "store/database.h"
#include "store/names.h"

namespace sim {
namespace {

using nlohmann::json;

constexpr int kUnitsPerType = 4;
constexpr const char* kColumns = "SELECT name, type, online, ip, mac, edid, input, locked FROM units";
constexpr std::size_t kMostRoutes = 128;

Unit FactoryUnit(const std::string& type, int number) {
  const bool receiver = type == "rx";
  const int host = number + (receiver ? 100 : 10);
  std::array<char, 18> mac{};
  std::snprintf(mac.data(), mac.size(), "02:00:00:00:00:%02x", static_cast<unsigned int>(host) & 0xFFU);
  std::string name = receiver ? "RX0" : "TX0";
  std::string input = receiver ? "TX0" + std::to_string(number) : "";
  name += std::to_string(number);
  return {name, type, true, "192.0.2." + std::to_string(host), mac.data(), FactoryEdid(host), input, false};
}

void Insert(const Unit& unit) {
  TheDatabase().Execute(
      "INSERT INTO units (name, type, online, ip, mac, edid, input, locked) VALUES (?, ?, ?, ?, ?, ?, ?, ?)",
      {unit.name, unit.type, unit.online ? "1" : "0", unit.ip, unit.mac, unit.edid, unit.input,
       unit.locked ? "1" : "0"});
}

Unit ToUnit(const Database::Row& row) {
  return {row[0], row[1], row[2] == "1", row[3], row[4], row[5], row[6], row[7] == "1"};
}

std::string CheckInput(const Unit& unit, const UnitChange& change) {
  // A change that unlocks may route as well.
  if (unit.locked && change.locked.value_or(true)) return "the receiver is locked";
  const std::string& input = *change.input;
  if (input.empty()) return "";
  if (unit.type != "rx") return "only receivers have an input";
  const auto source = FindUnit(input);
  return source && source->type == "tx" ? "" : "no such transmitter";
}

// A receiver has its display's own.
std::string CheckEdid(const Unit& unit, const std::string& edid) {
  if (unit.type != "tx") return "only transmitters take an EDID";
  const std::string fault = EdidFault(edid);
  return fault.empty() ? "" : "bad EDID: " + fault;
}

std::string Check(const Unit& unit, const UnitChange& change) {
  if (change.name && !IsName(*change.name)) return "bad name";
  if (change.name && *change.name != unit.name && FindUnit(*change.name)) return "name is taken";
  if (change.locked && unit.type != "rx") return "only receivers can be locked";
  if (change.edid) {
    if (std::string fault = CheckEdid(unit, *change.edid); !fault.empty()) return fault;
  }
  return change.input ? CheckInput(unit, change) : "";
}

// Receivers, presets and privilege pictures follow a unit's new name.
void Rename(const std::string& from, const std::string& to) {
  TheDatabase().Execute("UPDATE units SET name = ? WHERE name = ?", {to, from});
  TheDatabase().Execute("UPDATE units SET input = ? WHERE input = ?", {to, from});
  TheDatabase().Execute("UPDATE OR IGNORE presets SET receiver = ? WHERE receiver = ?", {to, from});
  TheDatabase().Execute("UPDATE presets SET input = ? WHERE input = ?", {to, from});
  TheDatabase().Execute("UPDATE OR IGNORE privileges SET unit = ? WHERE unit = ?", {to, from});
}

void Write(const Unit& unit, const UnitChange& change) {
  Transaction transaction(TheDatabase());
  if (change.online) {
    TheDatabase().Execute("UPDATE units SET online = ? WHERE name = ?",
                          {*change.online ? "1" : "0", unit.name});
  }
  if (change.input)
    TheDatabase().Execute("UPDATE units SET input = ? WHERE name = ?", {*change.input, unit.name});
  if (change.edid)
    TheDatabase().Execute("UPDATE units SET edid = ? WHERE name = ?", {*change.edid, unit.name});
  if (change.locked) {
    TheDatabase().Execute("UPDATE units SET locked = ? WHERE name = ?",
                          {*change.locked ? "1" : "0", unit.name});
  }
  if (change.name && *change.name != unit.name) Rename(unit.name, *change.name);
  transaction.Commit();
}

void PublishUnit(const Unit& unit, const std::string& was) {
  json event = {{"type", "unit"}, {"unit", ToJson(unit)}};
  if (was != unit.name) event["was"] = was;
  Publish(event);
}

// A receiver's input has its transmitter's new name.
void PublishOutputsOf(const std::string& transmitter) {
  for (const Unit& unit : ListUnits()) {
    if (unit.input == transmitter) PublishUnit(unit, unit.name);
  }
}

Unit FromJson(const json& unit) {
  return {unit["name"], unit["type"], unit["online"], unit["ip"],
          unit["mac"],  unit["edid"], unit["input"],  unit.value("locked", false)};
}

std::string RouteFault(const std::string& receiver, const std::string& input) {
  const auto unit = FindUnit(receiver);
  if (!unit || unit->type != "rx") return "no such receiver";
  return CheckInput(*unit, {.input = input});
}

}  // namespace

json ToJson(const Unit& unit) {
  return {{"name", unit.name}, {"type", unit.type}, {"online", unit.online}, {"ip", unit.ip},
          {"mac", unit.mac},   {"edid", unit.edid}, {"input", unit.input},   {"locked", unit.locked}};
}

void StartUnits() {
  if (ListUnits().empty()) StoreUnits(FactoryUnits());
}

std::vector<Unit> ListUnits() {
  std::vector<Unit> units;
  for (const auto& row : TheDatabase().Query(std::string(kColumns) + " ORDER BY id"))
    units.push_back(ToUnit(row));
  return units;
}

std::optional<Unit> FindUnit(const std::string& name) {
  const auto rows = TheDatabase().Query(std::string(kColumns) + " WHERE name = ?", {name});
  if (rows.empty()) return std::nullopt;
  return ToUnit(rows[0]);
}

int CountOnlineUnits() {
  return std::stoi(TheDatabase().Query("SELECT COUNT(*) FROM units WHERE online = 1")[0][0]);
}

std::optional<UnitChange> ToUnitChange(const json& body) {
  if (!body.is_object()) return std::nullopt;
  UnitChange change;
  for (const auto& [member, value] : body.items()) {
    if (member == "name" && value.is_string()) {
      change.name = value;
    } else if (member == "online" && value.is_boolean()) {
      change.online = value;
    } else if (member == "input" && value.is_string()) {
      change.input = value;
    } else if (member == "edid" && value.is_string()) {
      change.edid = value;
    } else if (member == "locked" && value.is_boolean()) {
      change.locked = value;
    } else {
      return std::nullopt;
    }
  }
  return body.empty() ? std::nullopt : std::optional(change);
}

std::string ChangeUnit(const std::string& name, const UnitChange& change) {
  const auto lock = OneChange();
  const auto unit = FindUnit(name);
  if (!unit) return "no such unit";
  if (std::string reason = Check(*unit, change); !reason.empty()) return reason;
  Write(*unit, change);
  if (const auto changed = FindUnit(change.name.value_or(name))) PublishUnit(*changed, name);
  if (change.name) PublishOutputsOf(*change.name);
  return "";
}

std::optional<Routes> ToRoutes(const json& body) {
  if (!body.is_object() || body.empty() || body.size() > kMostRoutes) return std::nullopt;
  const auto isText = [](const json& input) { return input.is_string(); };
  if (!std::all_of(body.begin(), body.end(), isText)) return std::nullopt;
  return body.get<Routes>();
}

std::string SetRoutes(const Routes& routes) {
  const auto lock = OneChange();
  for (const auto& [receiver, input] : routes) {
    if (const std::string fault = RouteFault(receiver, input); !fault.empty())
      return std::string(receiver).append(": ").append(fault);
  }
  Transaction transaction(TheDatabase());
  for (const auto& [receiver, input] : routes) Write(*FindUnit(receiver), {.input = input});
  transaction.Commit();
  for (const auto& [receiver, input] : routes) PublishUnit(*FindUnit(receiver), receiver);
  return "";
}

json ExportUnits() {
  json units = json::array();
  for (const Unit& unit : ListUnits()) units.push_back(ToJson(unit));
  return units;
}

json FactoryUnits() {
  json units = json::array();
  for (const char* const type : {"tx", "rx"}) {
    for (int number = 1; number <= kUnitsPerType; ++number)
      units.push_back(ToJson(FactoryUnit(type, number)));
  }
  return units;
}

bool StoreUnits(const json& units) {
  const auto lock = OneChange();
  Transaction transaction(TheDatabase());
  TheDatabase().Execute("DELETE FROM units");
  for (const json& unit : units) Insert(FromJson(unit));
  TheDatabase().Execute("DELETE FROM privileges WHERE unit NOT IN (SELECT name FROM units)");
  transaction.Commit();
  return true;
}

void PublishUnits() {
  for (const Unit& unit : ListUnits()) PublishUnit(unit, unit.name);
}

void PublishUnitList() { Publish({{"type", "units"}, {"units", ExportUnits()}}); }

}  // namespace sim
