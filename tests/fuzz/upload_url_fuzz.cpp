// Fuzzes the classification of upload URLs.
#include <string>

#include "support/fuzz_host.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
  const std::string url(fuzz::View(data, size));
  const int kind = UploadUrlConversionFuncID(url.c_str());
  FUZZ_CHECK(kind >= -1 && kind <= 8);
  // A kind belongs to the whole URL only.
  const std::string whole = url.c_str();
  if (kind >= 0) FUZZ_CHECK(UploadUrlConversionFuncID((whole + "/").c_str()) == -1);
  if (kind >= 0) FUZZ_CHECK(UploadUrlConversionFuncID(whole.substr(1).c_str()) == -1);
  return 0;
}
