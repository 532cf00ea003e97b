// Privilege pictures: which are stored, and to which units they are bound.
#include "model/privileges.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <nlohmann/json.hpp>
#include <string_view>
#include <vector>

#include "model/units.h"
#include "slots/media.h"
#include "slots/slot_guard.h"
#include "store/database.h"
#include "store/files.h"

namespace sim {
namespace {

using nlohmann::json;

using Bindings = std::map<std::string, std::vector<std::string>>;

// The library reports lists of up to 99 hosts; the device has eight units.
constexpr size_t kMaxHosts = 99;

struct MallocDeleter {
  void operator()(void* memory) const { std::free(memory); }
};

Bindings LoadBindings() {
  Bindings bindings;
  for (const auto& row : TheDatabase().Query("SELECT picture, unit FROM privileges ORDER BY picture, unit")) {
    bindings[row[0]].push_back(row[1]);
  }
  return bindings;
}

template <size_t kSize>
void Copy(char (&to)[kSize], const std::string& text) {
  std::snprintf(to, kSize, "%s", text.c_str());
}

void FillEntry(PrivEntry& entry, int32_t serial, const std::string& picture,
               const std::vector<std::string>& units) {
  entry.serialnum = serial;
  Copy(entry.picname, picture);
  entry.hostcount = static_cast<int32_t>(std::min(units.size(), kMaxHosts));
  for (size_t i = 0; i < units.size() && i < kMaxHosts; ++i) Copy(entry.hostname[i], units[i]);
}

int FillList(PrivList& list) {
  const std::vector<std::string> pictures = NamesIn(kPrivDir);
  if (pictures.empty()) return 0;
  std::unique_ptr<PrivEntry, MallocDeleter> entries(
      static_cast<PrivEntry*>(std::calloc(pictures.size(), sizeof(PrivEntry))));
  if (!entries) return kRefused;
  Bindings bindings = LoadBindings();
  for (size_t i = 0; i < pictures.size(); ++i) {
    FillEntry(entries.get()[i], static_cast<int32_t>(i + 1), pictures[i], bindings[pictures[i]]);
  }
  list.count = static_cast<int32_t>(pictures.size());
  list.entries = entries.release();
  return 0;
}

// Also keeps names with a path in them out of the folder.
bool IsStoredPicture(const std::string& picture) {
  return !picture.empty() && picture == SafeFileName(picture) && StatusOf(PrivilegePath(picture));
}

void Bind(const std::string& picture, const std::string& unit) {
  TheDatabase().Execute("INSERT OR IGNORE INTO privileges (picture, unit) VALUES (?, ?)", {picture, unit});
}

bool IsListOfTexts(const json& list) {
  return list.is_array() &&
         std::all_of(list.begin(), list.end(), [](const json& item) { return item.is_string(); });
}

}  // namespace

std::string PrivilegePath(const std::string& picture) { return std::string(kPrivDir) + "/" + picture; }

json ExportBindings() { return LoadBindings(); }

std::string BindingsFault(const json& bindings) {
  if (!bindings.is_object() || bindings.size() > kMostPrivPictures) return "no list of bindings, or too long";
  for (const auto& [picture, units] : bindings.items()) {
    if (picture.empty() || picture != SafeFileName(picture)) return "a bad name of a picture";
    if (!IsListOfTexts(units) || units.size() > kMaxHosts) return "no list of units, or too long";
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

int PrivilegeList(const char*, PrivList* list) {
  return Guarded([&] { return FillList(*list); });
}

int BindPrivilege(const char* /*token*/, const char* hostname, const char* file) {
  return Guarded([&] {
    if (!FindUnit(hostname) || !IsStoredPicture(file)) return kRefused;
    Bind(file, hostname);
    return 0;
  });
}

int DeletePrivilege(const char* /*token*/, const char* file) {
  return Guarded([&] {
    if (!IsStoredPicture(file) || unlink(PrivilegePath(file).c_str()) != 0) return kRefused;
    TheDatabase().Execute("DELETE FROM privileges WHERE picture = ?", {file});
    return 0;
  });
}

}  // namespace sim
