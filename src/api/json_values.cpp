// Readers of JSON members with a fixed answer for a missing one.
#include <cjson/cJSON.h>

#include <cstring>

#include "sdkapi/values.h"

namespace {

const cJSON* Member(const cJSON* object, const char* name) {
  return object != nullptr && name != nullptr ? cJSON_GetObjectItem(object, name) : nullptr;
}

// A number alone: the parser notes a 1 for true. A missing member and 0 look the same on purpose.
const cJSON* Number(const cJSON* object, const char* name) {
  const cJSON* const member = Member(object, name);
  return cJSON_IsNumber(member) ? member : nullptr;
}

}  // namespace

int cJSON_GetObjectItemValueString(const cJSON* object, const char* name, char* dst, int size) {
  const cJSON* const member = Member(object, name);
  if (member == nullptr || member->valuestring == nullptr || dst == nullptr || size < 1) return -1;
  const std::size_t length = strnlen(member->valuestring, static_cast<std::size_t>(size) - 1);
  std::memcpy(dst, member->valuestring, length);
  dst[length] = '\0';
  return 0;
}

int cJSON_GetObjectItemValueInt(const cJSON* object, const char* name) {
  const cJSON* const member = Number(object, name);
  return member != nullptr ? member->valueint : 0;
}

double cJSON_GetObjectItemValueDouble(const cJSON* object, const char* name) {
  const cJSON* const member = Number(object, name);
  return member != nullptr ? member->valuedouble : 0.0;
}
