// The one upload: form fields streamed piece by piece into a host function, for every family of uploads.
//
// A family says what differs:
//   Context              the record that the host sees
//   kFamily              its number for the host's extensions
//   kLog                 the source name of its log lines
//   kFound, kGet         the names of its form callbacks in the log
//   Bound(ctx)           whether there is a host function to call
//   Call(ctx, token)     the call
//   OnUnbound(ctx)       what a form callback notes when there is none
//   Accepts(error)       whether the final call is made although the host returned this error before
//   Refusal(ctx)         the answer when it is not
#pragma once

#include <civetweb.h>

#include <algorithm>
#include <climits>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>
#include <utility>

#include "base/owned.h"
#include "base/text.h"
#include "http/body_limit.h"
#include "http/request.h"
#include "sdkapi/extension.h"
#include "sdkapi/host.h"
#include "server/counters.h"
#include "server/log.h"
#include "transfer/form.h"
#include "transfer/upload_end.h"
#include "transfer/upload_limit.h"

namespace sdkapi {

// An upload's answer: a status and a JSON text.
struct UploadAnswer {
  int status;
  const char* json;
};

constexpr const char* kInvalidFile = R"({"result":"Invalid File"})";

// One request's upload. The record comes first: the connection's user data points at both.
template <class Family>
struct Upload {
  typename Family::Context ctx;
  const char* token;       // the request's
  const char* parseToken;  // the one that calls during the parse pass
  int fieldsFound;
  bool parseFailed;
  bool tooLarge;
};

template <class Family>
Upload<Family>* UploadOf(void* userData) {
  static_assert(std::is_standard_layout_v<Upload<Family>>, "the host's record is the upload's first member");
  return static_cast<Upload<Family>*>(
      mg_get_user_connection_data(static_cast<const mg_connection*>(userData)));
}

// Writes one piece and zeroes all behind it: the host may have written anywhere. Keeping book of what can be
// dirty, or looking for it, would cost more than clearing it.
template <class Context>
void LoadPiece(Context& ctx, const char* bytes, std::size_t length) {
  std::memcpy(ctx.data, bytes, length);
  std::memset(ctx.data + length, 0, sizeof ctx.data - length);
  ctx.length = static_cast<int64_t>(length);
}

template <class Context>
void NameField(Context& ctx, const char* key, const char* fileName) {
  CopyText(ctx.name, key != nullptr ? key : "");
  ctx.noFileName = fileName == nullptr || fileName[0] == '\0' ? 1 : 0;
  // A field without a file name deliberately keeps the name of the file before it.
  if (ctx.noFileName == 0) CopyText(ctx.fileName, fileName);
}

template <class Family>
bool IsUnbound(Upload<Family>* upload, const LogLine& log, const char* callback) {
  if (upload == nullptr) return true;
  if (Family::Bound(upload->ctx)) return false;
  Family::OnUnbound(upload->ctx);
  upload->parseFailed = true;
  NotRegistered(log, callback);
  return true;
}

// The parser has found a field.
template <class Family>
int OnFieldFound(const char* key, const char* fileName, char* /*path*/, std::size_t /*pathSize*/,
                 void* conn) {
  Family::kLog.info()("KEY = %s start.", key);
  auto* const upload = UploadOf<Family>(conn);
  if (IsUnbound<Family>(upload, Family::kLog.error(), Family::kFound)) return MG_FORM_FIELD_STORAGE_ABORT;

  ++upload->fieldsFound;
  LoadPiece(upload->ctx, "", 0);
  NameField(upload->ctx, key, fileName);
  upload->ctx.pieceState = 0;
  const int result = Family::Call(upload->ctx, upload->parseToken);
  if (result == 0) return MG_FORM_FIELD_STORAGE_GET;
  upload->ctx.error = result;
  return MG_FORM_FIELD_STORAGE_SKIP;
}

// CR LF behind a piece marks the end of its field; inside a file it may appear earlier. The second byte is
// looked at only behind a CR: behind an urlencoded value stands one NUL, and then nothing of ours.
inline int PieceState(const char* behind) { return behind[0] == '\r' && behind[1] == '\n' ? 1 : 2; }

// The parser has read bytes of a field.
template <class Family>
int OnFieldGet(const char* /*key*/, const char* value, std::size_t length, void* conn) {
  auto* const upload = UploadOf<Family>(conn);
  if (IsUnbound<Family>(upload, Family::kLog.error(), Family::kGet)) return MG_FORM_FIELD_HANDLE_ABORT;
  // The parser reports an impossible length for a part without a body.
  if (length > INT_MAX) {
    upload->parseFailed = true;
    return MG_FORM_FIELD_HANDLE_ABORT;
  }
  for (std::size_t done = 0; done != length;) {
    if (done != 0 && IsUnbound<Family>(upload, Family::kLog.error(), Family::kGet)) {
      return MG_FORM_FIELD_HANDLE_ABORT;
    }
    const std::size_t piece = std::min(length - done, sizeof upload->ctx.data);
    LoadPiece(upload->ctx, value + done, piece);
    done += piece;
    upload->ctx.pieceState = PieceState(value + done);
    const int result = Family::Call(upload->ctx, upload->parseToken);
    if (result != 0) {
      upload->ctx.error = result;
      return MG_FORM_FIELD_HANDLE_NEXT;
    }
  }
  return MG_FORM_FIELD_HANDLE_GET;
}

// Not reached: no field is ever stored by the web server. It completes the parser's record.
template <class Family>
int OnFieldStored(const char* /*path*/, long long size, void* /*conn*/) {
  Family::kLog.info()("file_size = %lld.", size);
  return 0;
}

// Runs the form through the callbacks. False for everything that is not a whole, well-formed form of which
// every field was offered to the host: a name that cannot be decoded is counted but never offered.
template <class Family>
bool ParseForm(mg_connection* conn, Upload<Family>& upload) {
  const BodyLimit limit(conn, MostUploadBytes(Family::kFamily));
  upload.tooLarge = limit.AnnouncedTooMuch();
  if (upload.tooLarge || !MayBeParsed(conn)) {
    limit.End();
    return false;
  }
  mg_form_data_handler handler{OnFieldFound<Family>, OnFieldGet<Family>, OnFieldStored<Family>, conn};
  mg_set_user_connection_data(conn, &upload);
  const int fields = mg_handle_form_request(conn, &handler);
  mg_set_user_connection_data(conn, nullptr);
  upload.tooLarge = limit.End();
  return fields == upload.fieldsFound && !upload.parseFailed;
}

// The final call where the upload went well, and the answer. The final call passes the request's token.
template <class Family>
UploadAnswer Conclude(Upload<Family>& upload, bool parsed) {
  auto& ctx = upload.ctx;
  if (ctx.error == kNotAuthorised) return {401, ""};
  if (upload.tooLarge) {
    Family::kLog.error()("upload is larger than allowed!!!!");
    Count(Counter::kRefusedUploads);
    return {413, ""};
  }
  if (!parsed || !Family::Bound(ctx) || !Family::Accepts(ctx.error)) return Family::Refusal(ctx);
  ctx.endFlag = 1;
  ctx.length = 0;
  return {Family::Call(ctx, upload.token) == 0 ? 200 : 500, ""};
}

// What the host gets to know of an upload's end; nothing where it has not heard of the upload.
template <class Family>
void TellEnd(Upload<Family>& upload, const char* token, int status) {
  if (upload.fieldsFound == 0) return;
  SdkAPIExtUpload end{};
  end.family = Family::kFamily;
  end.completed = upload.ctx.endFlag;
  end.status = status;
  end.token = token;
  if constexpr (std::is_same_v<typename Family::Context, UploadFileCtx>) {
    end.funcId = upload.ctx.funcId;
    end.file = &upload.ctx;
  } else {
    end.funcId = kUploadUnnamed;
    end.custom = &upload.ctx;
  }
  TellUploadEnd(end);
}

// Concludes and replies; returns the handler's result. What then stands in the record's extra is released:
// the host may have taken the block that was there, or left one of its own.
template <class Request, class Family>
int ReplyToUpload(const Request& request, Upload<Family>& upload, bool parsed) {
  const UploadAnswer answer = Conclude(upload, parsed);
  Count(answer.status == 200 ? Counter::kUploads : Counter::kFailedUploads);
  // Before the client knows: its next upload finds the host done with this one.
  TellEnd(upload, request.token(), answer.status);
  const MallocPtr<char> extra(std::exchange(upload.ctx.extra, nullptr));
  return request.Answer(answer.status, answer.json);
}

}  // namespace sdkapi
