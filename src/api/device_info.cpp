// Device information and up-time.
#include "base/json_object.h"
#include "base/owned.h"
#include "base/text.h"
#include "base/text_writer.h"
#include "http/handlers.h"
#include "http/request.h"
#include "http/response.h"
#include "sdkapi/device.h"
#include "sdkapi/host.h"
#include "server/log.h"

namespace {

using namespace sdkapi;

constexpr LogSource kLog{"sdkapi"};

constexpr int kNoTimeout = -1;

void TerminateTexts(DeviceInfo& info) {
  Terminate(info.model);
  Terminate(info.security);
  Terminate(info.devicetime);
}

// Only what the host set is reported; the time-out is a text on purpose.
JsonText DeviceInfoBody(const DeviceInfo& info) {
  char timeout[16];
  JsonObject body;
  if (info.model[0] != '\0') body.Add("model", info.model);
  if (info.security[0] != '\0') body.Add("security", info.security);
  if (info.timeout != kNoTimeout) {
    TextWriter(timeout).AddNumber(info.timeout).Finish();
    body.Add("timeout", timeout);
  }
  if (info.devicetime[0] != '\0') body.Add("devicetime", info.devicetime);
  return body.Print();
}

JsonText DeviceStatusBody(const char* uptime) {
  JsonObject body;
  cJSON* const status = body.AddObject("device_status");
  body.Note(cJSON_AddStringToObject(status, "uptime", uptime));
  return body.Print();
}

}  // namespace

extern "C" int FuncDeviceInfo(mg_connection* conn, void* /*cbdata*/) {
  const JsonRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("token err!!!!");
    return request.Answer(401);
  }
  const auto deviceInfo = request.host()->DeviceInfoCb;
  if (deviceInfo == nullptr) return NotRegistered(kLog.error(), __func__);

  DeviceInfo info{};
  info.timeout = kNoTimeout;
  const int result = deviceInfo(request.token(), &info);
  if (result != 0) return request.Answer(StatusFor(result));
  TerminateTexts(info);
  return ReplyJson(conn, 200, DeviceInfoBody(info));
}

int FunDeviceStatus(mg_connection* conn, void* /*cbdata*/) {
  const JsonRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("token err!!!!");
    return request.Answer(401);
  }
  const auto deviceStatus = request.host()->DeviceStatusCb;
  if (deviceStatus == nullptr) return NotRegistered(kLog.error(), __func__);

  char uptime[kDeviceUptimeSize] = {};
  // A failure carries the body "{}", unlike device information's empty one; the slot cannot answer 401.
  if (deviceStatus(uptime) != 0) return request.Answer(500, "{}");
  Terminate(uptime);
  return ReplyJson(conn, 200, DeviceStatusBody(uptime));
}
