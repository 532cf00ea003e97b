// A JSON object under construction that remembers whether anything could not be added.
#pragma once

#include "base/owned.h"

namespace sdkapi {

class JsonObject {
 public:
  JsonObject() : tree_(cJSON_CreateObject()) {}

  void Add(const char* name, const char* text) { Note(cJSON_AddStringToObject(tree_.get(), name, text)); }
  void Add(const char* name, double number) { Note(cJSON_AddNumberToObject(tree_.get(), name, number)); }
  cJSON* AddArray(const char* name) { return Note(cJSON_AddArrayToObject(tree_.get(), name)); }
  cJSON* AddObject(const char* name) { return Note(cJSON_AddObjectToObject(tree_.get(), name)); }

  // For members of nested arrays and objects, whose result the caller passes in.
  cJSON* Note(cJSON* added) {
    complete_ = complete_ && added != nullptr;
    return added;
  }
  void Note(bool added) { complete_ = complete_ && added; }

  // Null when memory was short at any point: a reply with members missing is never sent.
  JsonText Print() const { return Finished(cJSON_PrintUnformatted); }
  JsonText PrintFormatted() const { return Finished(cJSON_Print); }

 private:
  JsonText Finished(char* (*print)(const cJSON*)) const {
    return JsonText(tree_ != nullptr && complete_ ? print(tree_.get()) : nullptr);
  }

  JsonPtr tree_;
  bool complete_ = true;
};

}  // namespace sdkapi
