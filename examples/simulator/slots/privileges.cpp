// The slots of the privilege pictures: list, bind, delete.
#include "slots/privileges.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include "model/privileges.h"
#include "slots/acts.h"
#include "slots/slot_guard.h"

namespace sim {
namespace {

static_assert(kMostBoundUnits <= std::size(PrivEntry{}.hostname));

struct MallocDeleter {
  void operator()(void* memory) const { std::free(memory); }
};

template <size_t kSize>
void Copy(char (&to)[kSize], const std::string& text) {
  std::snprintf(to, kSize, "%s", text.c_str());
}

void FillEntry(PrivEntry& entry, int32_t serial, const PrivilegePicture& picture) {
  const size_t count = std::min(picture.units.size(), kMostBoundUnits);
  entry.serialnum = serial;
  Copy(entry.picname, picture.name);
  entry.hostcount = static_cast<int32_t>(count);
  for (size_t i = 0; i < count; ++i) Copy(entry.hostname[i], picture.units[i]);
}

int FillList(PrivList& list) {
  const std::vector<PrivilegePicture> pictures = ListPrivileges();
  if (pictures.empty()) return 0;
  std::unique_ptr<PrivEntry, MallocDeleter> entries(
      static_cast<PrivEntry*>(std::calloc(pictures.size(), sizeof(PrivEntry))));
  if (!entries) return kRefused;
  for (size_t i = 0; i < pictures.size(); ++i)
    FillEntry(entries.get()[i], static_cast<int32_t>(i + 1), pictures[i]);
  list.count = static_cast<int32_t>(pictures.size());
  list.entries = entries.release();
  return 0;
}

int List(const char* /*token*/, PrivList* list) {
  return Guarded([&] { return FillList(*list); });
}

int Bind(const char* /*token*/, const char* hostname, const char* file) {
  return Guarded([&] {
    const bool isBound = BindPrivilege(file, hostname);
    NoteAct("picture", "bind", file, hostname, isBound ? "" : "there is no such picture or unit");
    return isBound ? 0 : kRefused;
  });
}

int Delete(const char* /*token*/, const char* file) {
  return Guarded([&] {
    const bool isDeleted = DeletePrivilege(file);
    NoteAct("picture", "delete", file, "", isDeleted ? "" : "there is no such picture");
    return isDeleted ? 0 : kRefused;
  });
}

}  // namespace

void FillPrivileges(SdkAPISerHandle& table) {
  table.GetPrivJsonCb = List;
  table.SpecifyPrivCb = Bind;
  table.DeletePrivCb = Delete;
}

}  // namespace sim
