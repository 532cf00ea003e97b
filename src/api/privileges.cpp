// Privilege pictures: which hosts a picture is bound to.
#include <algorithm>

#include "base/json_object.h"
#include "base/owned.h"
#include "base/text.h"
#include "http/accessors.h"
#include "http/handlers.h"
#include "http/request.h"
#include "http/response.h"
#include "sdkapi/host.h"
#include "server/log.h"

namespace {

using namespace sdkapi;

constexpr LogSource kLog{"sdkapi"};

constexpr int kMostHostNames =
    99;  // one less than the record has rows: clients rely on the empty list beyond it
constexpr int kWriteFailure = 503;  // where reading answers 500

bool AddHostNames(cJSON* names, PrivEntry& entry) {
  const int count = entry.hostcount <= kMostHostNames ? std::max(entry.hostcount, 0) : 0;
  for (int row = 0; row < count; ++row) {
    Terminate(entry.hostname[row]);
    cJSON* const text = cJSON_CreateString(entry.hostname[row]);
    if (!cJSON_AddItemToArray(names, text)) {
      cJSON_Delete(text);
      return false;
    }
  }
  return true;
}

void AddPicture(JsonObject& body, cJSON* pictures, PrivEntry& entry) {
  Terminate(entry.picname);
  cJSON* const picture = cJSON_CreateObject();
  if (!cJSON_AddItemToArray(pictures, picture)) {
    cJSON_Delete(picture);
    body.Note(false);
    return;
  }
  body.Note(cJSON_AddNumberToObject(picture, "serialnum", entry.serialnum));
  body.Note(cJSON_AddStringToObject(picture, "picname", entry.picname));
  cJSON* const names = body.Note(cJSON_AddArrayToObject(picture, "hostname"));
  body.Note(AddHostNames(names, entry));
}

JsonText PrivilegesBody(const PrivList& list) {
  JsonObject body;
  body.Add("picnum", list.count);
  cJSON* const pictures = body.AddArray("6000list");
  for (int index = 0; list.entries != nullptr && index < list.count; ++index) {
    AddPicture(body, pictures, list.entries[index]);
  }
  return body.Print();
}

}  // namespace

extern "C" int FuncGetPrivJson(mg_connection* conn, void* /*cbdata*/) {
  const JsonRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("token err!!!!");
    return request.Answer(401);
  }
  const auto getPrivileges = request.host()->GetPrivJsonCb;
  if (getPrivileges == nullptr) return NotRegistered(kLog.error(), __func__);

  PrivList list{};
  const int result = getPrivileges(request.token(), &list);
  const MallocPtr<PrivEntry> entries(list.entries);
  if (result != 0) return request.Answer(StatusFor(result));
  return ReplyJson(conn, 200, PrivilegesBody(list));
}

extern "C" int FunSpecityPriv(mg_connection* conn, void* /*cbdata*/) {
  const TransferRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("GetLoginHandle err!!!!");
    return request.Answer(401);
  }
  const auto specify = request.host()->SpecifyPrivCb;
  if (specify == nullptr) return NotRegistered(kLog.error(), __func__);

  char file[256];
  char hostname[128];
  ReadUrlParam(conn, "file", file);
  ReadUrlParam(conn, "hostname", hostname);
  return request.Answer(StatusFor(specify(request.token(), hostname, file), kWriteFailure));
}

extern "C" int FunDeletePriv(mg_connection* conn, void* /*cbdata*/) {
  const TransferRequest request(conn);
  if (request.host() == nullptr) {
    kLog.error()("GetLoginHandle err!!!!");
    return request.Answer(401);
  }
  const auto deletePicture = request.host()->DeletePrivCb;
  if (deletePicture == nullptr) return NotRegistered(kLog.error(), __func__);

  char file[256];
  ReadUrlParam(conn, "file", file);
  return request.Answer(StatusFor(deletePicture(request.token(), file), kWriteFailure));
}
