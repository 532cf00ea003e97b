// A fixture that puts the library, the host and the web server into their first state.
#pragma once

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "expected_reply.h"
#include "fake_civetweb.h"
#include "log_capture.h"
#include "neutral_extensions.h"
#include "sdkapi/sdkapi.h"
#include "system_calls.h"
#include "test_host.h"

namespace sdktest {

using Strings = std::vector<std::string>;

// Names the rows of a parameterised test by their member "name".
struct ByName {
  template <class Row>
  std::string operator()(const testing::TestParamInfo<Row>& row) const {
    return row.param.name;
  }
};

class LibraryTest : public testing::Test {
 protected:
  LibraryTest();
  ~LibraryTest() override;

  // Puts everything into its first state; the constructor does it, too.
  static void StartAfresh();

  // Replaces the library's copy of the host's table.
  static void Install(const SdkAPISerHandle& table);

  // Switches authentication on.
  static void RequireLogin();

  // Logs a token in through the login handler, with authentication left as it is.
  static void LogIn(const std::string& token);

  static Strings Log() { return LogCapture::Lines(); }
};

}  // namespace sdktest
