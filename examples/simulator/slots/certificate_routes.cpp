// The device's own route about its certificates.
#include "slots/certificate_routes.h"

#include <sdkapi/kit_accounts.h>

#include <string>

#include "model/certificates.h"
#include "slots/acts.h"
#include "slots/replies.h"
#include "slots/slot_guard.h"

namespace sim {
namespace {

using nlohmann::json;

int AnswerAction(mg_connection* conn, const std::string& action, const std::string& reason,
                 const json& body) {
  NoteAct("certificate", action, "", "", reason);
  if (!reason.empty()) return AnswerError(conn, 400, reason.c_str());
  return Answer(conn, 200, body.is_null() ? Certificates() : body);
}

int PostCertificates(mg_connection* conn, const CustomReqInfo& request) {
  const json body = BodyOf(request);
  const json action = body.is_object() ? body.value("action", json()) : json();
  if (action == "make") return AnswerAction(conn, action, MakeCertificate(body), nullptr);
  if (action == "discard") return AnswerAction(conn, action, DiscardCertificate(), nullptr);
  if (action != "request") return AnswerError(conn, 400, "bad body");
  std::string pem;
  const std::string reason = RequestCertificate(body, pem);
  return AnswerAction(conn, action, reason, {{"request", pem}});
}

int ServeCertificates(mg_connection* conn, CustomReqInfo* request) {
  return Guarded([&] {
    if (request->method == kPost) return PostCertificates(conn, *request);
    if (request->method != kGet) return AnswerError(conn, 405, "method not allowed");
    return Answer(conn, 200, Certificates());
  });
}

}  // namespace

void RegisterCertificateRoutes() { SdkKitAccounts_Get_Post_Add("/sim/certificates$", ServeCertificates); }

}  // namespace sim
