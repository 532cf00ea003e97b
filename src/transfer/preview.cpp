// The preview: a stream of the host's pictures, as long as host, client and server want it.
#include <civetweb.h>

#include <cstdint>
#include <cstdlib>
#include <cstring>

#include "base/owned.h"
#include "base/text.h"
#include "http/handlers.h"
#include "http/request.h"
#include "http/response.h"
#include "http/stream_room.h"
#include "sdkapi/host.h"
#include "sdkapi/http.h"
#include "sdkapi/transfer.h"
#include "server/host_table.h"
#include "server/lifecycle.h"
#include "server/log.h"
#include "transfer/mjpeg.h"

namespace {

using namespace sdkapi;

constexpr LogSource kLog{"sdkapi"};

enum PreviewState : int { kOpen = 0, kNextPicture = 1, kClose = 2 };

constexpr char kUnitPrefix[] = "/preview/";

// One stream's memory. On the heap: the record alone is larger than many worker stacks.
struct PreviewStream {
  PreviewFrame frame;
  SdkAPISerHandle table;
};

void NameSource(const mg_connection* conn, PreviewFrame& frame) {
  const char* const url = GetHttpUrl(conn);
  if (url == nullptr || std::strstr(url, kUnitPrefix) == nullptr) return;
  CopyText(frame.hostname, url + sizeof kUnitPrefix - 1);
  kLog.info()("FuncPreview hostname is [%s]", frame.hostname);
}

int CallHost(PreviewStream& stream, PreviewState state) {
  stream.frame.state = state;
  return stream.table.PreviewCb(&stream.frame);
}

// False when the stream is over. A negative length sends a part without a picture and goes on, as clients
// know it; a length beyond the record ends the stream before anything of it is sent.
bool SendNextPicture(mg_connection* conn, PreviewStream& stream) {
  if (CallHost(stream, kNextPicture) != 0) return false;
  const int64_t length = stream.frame.length;
  if (length > static_cast<int64_t>(sizeof stream.frame.frame)) return false;
  SendPartHead(conn, "image/jpeg", static_cast<std::size_t>(length));
  if (length >= 0 && !SendPicture(conn, stream.frame.frame, static_cast<std::size_t>(length))) return false;
  return mg_write(conn, "\r\n\r\n", 4) == 4;
}

}  // namespace

// No token is read: the preview is open to every client that reaches the route.
extern "C" int FuncPreview(mg_connection* conn, void* /*cbdata*/) {
  const MallocPtr<PreviewStream> stream(static_cast<PreviewStream*>(std::calloc(1, sizeof(PreviewStream))));
  if (stream == nullptr) {
    // Memory is short, nothing else: clients know the 401, and tools the line.
    kLog.error()("GetLoginHandle err!!!!");
    return Reply(conn, 401, "");
  }
  stream->table = *GetSerHandle();
  if (stream->table.PreviewCb == nullptr) return NotRegistered(kLog.error(), __func__);
  NameSource(conn, stream->frame);
  const StreamPlace place(conn, Stream::kPreview);
  if (!place.granted()) return Reply(conn, 503, "");
  if (CallHost(*stream, kOpen) != 0) return 0;

  SendHttpMjpegHead(conn);
  while (ServerIsRunning() && SendNextPicture(conn, *stream)) {
  }
  CallHost(*stream, kClose);
  EndConnection(conn);
  return 1;
}
