// Requests made by libcurl, as many real clients make them.
#include "curl_client.h"

#include <curl/curl.h>

#include <memory>

#include "server.h"
#include "shared.h"

namespace integration {
namespace {

std::size_t Append(char* data, std::size_t size, std::size_t count, void* body) {
  static_cast<std::string*>(body)->append(data, size * count);
  return size * count;
}

class Request {
 public:
  Request(const Mode& mode, const std::string& target, const std::vector<std::string>& headers)
      : curl_(curl_easy_init()) {
    const std::string url = (mode.https ? "https://127.0.0.1:" : "http://127.0.0.1:") +
                            std::to_string(Server::Get().port(mode.https)) + target;
    curl_easy_setopt(curl_, CURLOPT_URL, url.c_str());
    curl_easy_setopt(curl_, CURLOPT_CAINFO, Server::CertificateFile().c_str());
    curl_easy_setopt(curl_, CURLOPT_TIMEOUT, static_cast<long>(kPatience.count()));
    curl_easy_setopt(curl_, CURLOPT_NOSIGNAL, 1L);
    curl_easy_setopt(curl_, CURLOPT_PROXY, "");
    for (const std::string& header : headers) headers_ = curl_slist_append(headers_, header.c_str());
    curl_easy_setopt(curl_, CURLOPT_HTTPHEADER, headers_);
  }
  ~Request() {
    curl_slist_free_all(headers_);
    curl_easy_cleanup(curl_);
  }
  Request(const Request&) = delete;
  Request& operator=(const Request&) = delete;

  CURL* curl() { return curl_; }

  CurlResult Run() {
    CurlResult result{0, 0, ""};
    curl_easy_setopt(curl_, CURLOPT_WRITEFUNCTION, Append);
    curl_easy_setopt(curl_, CURLOPT_WRITEDATA, &result.body);
    result.code = curl_easy_perform(curl_);
    curl_easy_getinfo(curl_, CURLINFO_RESPONSE_CODE, &result.status);
    return result;
  }

 private:
  CURL* curl_;
  curl_slist* headers_ = nullptr;
};

}  // namespace

CurlResult CurlGet(const Mode& mode, const std::string& target, const std::vector<std::string>& headers) {
  return Request(mode, target, headers).Run();
}

CurlResult CurlPost(const Mode& mode, const std::string& target, const std::vector<std::string>& headers,
                    const std::string& body) {
  Request request(mode, target, headers);
  curl_easy_setopt(request.curl(), CURLOPT_POSTFIELDSIZE, static_cast<long>(body.size()));
  curl_easy_setopt(request.curl(), CURLOPT_POSTFIELDS, body.c_str());
  return request.Run();
}

CurlResult CurlUpload(const Mode& mode, const std::string& target, const std::vector<std::string>& headers,
                      const std::vector<Part>& parts) {
  Request request(mode, target, headers);
  const std::unique_ptr<curl_mime, decltype(&curl_mime_free)> form(curl_mime_init(request.curl()),
                                                                   curl_mime_free);
  for (const Part& part : parts) {
    curl_mimepart* const made = curl_mime_addpart(form.get());
    curl_mime_name(made, part.name.c_str());
    curl_mime_data(made, part.content.data(), part.content.size());
    if (!part.fileName.empty()) curl_mime_filename(made, part.fileName.c_str());
  }
  curl_easy_setopt(request.curl(), CURLOPT_MIMEPOST, form.get());
  return request.Run();
}

}  // namespace integration
