// A JSON object under construction that remembers whether anything could not be added.
#pragma once

#include <concepts>
#include <cstdint>

#include "base/owned.h"
#include "base/text_writer.h"

namespace sdkapi {

// Names and texts are referred to, not copied: they live until the object is printed.
class JsonObject {
 public:
  JsonObject() : tree_(cJSON_CreateObject()) {}

  void Add(const char* name, const char* text) { AddItem(name, cJSON_CreateStringReference(text)); }
  void Add(const char* name, double number) { AddItem(name, cJSON_CreateNumber(number)); }
  // Printing a double costs as much as a whole small request.
  void Add(const char* name, std::integral auto number) {
    char digits[24];
    TextWriter(digits).AddNumber(static_cast<int64_t>(number)).Finish();
    AddItem(name, cJSON_CreateRaw(digits));
  }
  cJSON* AddArray(const char* name) { return Note(cJSON_AddArrayToObject(tree_.get(), name)); }
  cJSON* AddObject(const char* name) { return Note(cJSON_AddObjectToObject(tree_.get(), name)); }

  // For members of nested arrays and objects, whose result the caller passes in.
  cJSON* Note(cJSON* added) {
    complete_ = complete_ && added != nullptr;
    return added;
  }
  void Note(bool added) { complete_ = complete_ && added; }

  // Null when memory was short at any point: a reply with members missing is never sent.
  JsonText Print() const { return Finished(false); }
  JsonText PrintFormatted() const { return Finished(true); }

 private:
  static constexpr int kUsualLength = 512;

  void AddItem(const char* name, cJSON* item) {
    if (cJSON_AddItemToObjectCS(tree_.get(), name, item)) return;
    cJSON_Delete(item);
    complete_ = false;
  }

  JsonText Finished(bool formatted) const {
    const bool printable = tree_ != nullptr && complete_;
    return JsonText(printable ? cJSON_PrintBuffered(tree_.get(), kUsualLength, formatted) : nullptr);
  }

  JsonPtr tree_;
  bool complete_ = true;
};

}  // namespace sdkapi
