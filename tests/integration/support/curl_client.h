// Requests made by libcurl, as many real clients make them.
#pragma once

#include <string>
#include <vector>

#include "client.h"

namespace integration {

struct CurlResult {
  int code;  // of the transfer: 0 is success
  long status;
  std::string body;
};

// The certificate is checked against the server's own file.
CurlResult CurlGet(const Mode& mode, const std::string& target, const std::vector<std::string>& headers);
CurlResult CurlPost(const Mode& mode, const std::string& target, const std::vector<std::string>& headers,
                    const std::string& body);
CurlResult CurlUpload(const Mode& mode, const std::string& target, const std::vector<std::string>& headers,
                      const std::vector<Part>& parts);

}  // namespace integration
