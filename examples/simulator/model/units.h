// The transmitter and receiver units that the device manages.
#pragma once

#include <map>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <vector>

namespace sim {

struct Unit {
  std::string name;
  std::string type;  // "tx" or "rx"
  bool online;
  std::string ip;
  std::string mac;
  std::string edid;   // 256 or 512 hexadecimal characters
  std::string input;  // receiver: the transmitter that it shows, or empty
  bool locked;        // receiver: its input stays until it is unlocked
};

nlohmann::json ToJson(const Unit& unit);

// Makes the factory units on an empty database.
void StartUnits();

std::vector<Unit> ListUnits();
std::optional<Unit> FindUnit(const std::string& name);
int CountOnlineUnits();

// The changes of a unit that a client may ask for; absent members stay.
struct UnitChange {
  std::optional<std::string> name{};
  std::optional<bool> online{};
  std::optional<std::string> input{};
  std::optional<std::string> edid{};
  std::optional<bool> locked{};
};

// Reads a change from a JSON object; nothing when a member has the wrong type or there is none.
std::optional<UnitChange> ToUnitChange(const nlohmann::json& body);

// Changes a unit and publishes it. Returns an empty text, or why not.
std::string ChangeUnit(const std::string& name, const UnitChange& change);

// Reads {RECEIVER:TRANSMITTER or empty,...}; nothing when it is anything else.
using Routes = std::map<std::string, std::string>;
std::optional<Routes> ToRoutes(const nlohmann::json& body);

// Routes several receivers at once: all of them or, when one is refused, none. Returns an empty text, or why
// not.
std::string SetRoutes(const Routes& routes);

nlohmann::json ExportUnits();
nlohmann::json FactoryUnits();
// Replaces all units; pictures of units that are gone are unbound.
bool StoreUnits(const nlohmann::json& units);

// Tells all clients about every unit, after an import.
void PublishUnits();
// The whole list, for clients that have to forget units.
void PublishUnitList();

}  // namespace sim
