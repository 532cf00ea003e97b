// Privilege pictures: which are stored, and to which units they are bound.
#include "model/privileges.h"

#include <unistd.h>

#include <algorithm>
#include <map>
#include <nlohmann/json.hpp>

#include "model/units.h"
#include "store/database.h"
#include "store/files.h"

namespace sim {
namespace {

using nlohmann::json;

using Bindings = std::map<std::string, std::vector<std::string>>;

Bindings LoadBindings() {
  Bindings bindings;
  for (const auto& row : TheDatabase().Query("SELECT picture, unit FROM privileges ORDER BY picture, unit")) {
    bindings[row[0]].push_back(row[1]);
  }
  return bindings;
}

std::string PathOf(const std::string& picture) { return kPrivDir + picture; }

bool IsStoredPicture(const std::string& picture) {
  return IsStoredName(picture) && StatusOf(PathOf(picture));
}

void Bind(const std::string& picture, const std::string& unit) {
  TheDatabase().Execute("INSERT OR IGNORE INTO privileges (picture, unit) VALUES (?, ?)", {picture, unit});
}

bool IsListOfTexts(const json& list) {
  return list.is_array() &&
         std::all_of(list.begin(), list.end(), [](const json& item) { return item.is_string(); });
}

}  // namespace

json ExportBindings() { return LoadBindings(); }

std::string BindingsFault(const json& bindings) {
  if (!bindings.is_object() || bindings.size() > kMostPrivPictures) return "no list of bindings, or too long";
  for (const auto& [picture, units] : bindings.items()) {
    if (!IsStoredName(picture)) return "a bad name of a picture";
    if (!IsListOfTexts(units) || units.size() > kMostBoundUnits) return "no list of units, or too long";
  }
  return "";
}

bool StoreBindings(const json& bindings) {
  TheDatabase().Execute("DELETE FROM privileges");
  for (const auto& [picture, units] : bindings.items()) {
    for (const json& unit : units) {
      if (!FindUnit(unit)) return false;
      Bind(picture, unit);
    }
  }
  return true;
}

std::vector<PrivilegePicture> ListPrivileges() {
  std::vector<PrivilegePicture> pictures;
  Bindings bindings = LoadBindings();
  for (const std::string& name : NamesIn(kPrivDir)) pictures.push_back({name, bindings[name]});
  return pictures;
}

bool BindPrivilege(const std::string& picture, const std::string& unit) {
  if (!FindUnit(unit) || !IsStoredPicture(picture)) return false;
  Bind(picture, unit);
  return true;
}

bool DeletePrivilege(const std::string& picture) {
  if (!IsStoredPicture(picture) || unlink(PathOf(picture).c_str()) != 0) return false;
  TheDatabase().Execute("DELETE FROM privileges WHERE picture = ?", {picture});
  return true;
}

}  // namespace sim
