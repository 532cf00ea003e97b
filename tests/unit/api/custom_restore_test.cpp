// Custom restore: the argument that the host sees.
#include "http/handlers.h"
#include "library_fixture.h"

namespace {

using sdktest::JsonReply;
using sdktest::Strings;
using sdktest::TestHost;

class CustomRestoreTest : public sdktest::LibraryTest {};

TEST_F(CustomRestoreTest, TheHostSeesCode16OnEveryCallWhateverTheMethod) {
  TestHost::Get().customRestore = [](CustomRestoreArg& arg) {
    arg.code = 99;  // not read back
    arg.reserved = 99;
    return 0;
  };
  for (const char* const method : {"GET", "POST", "PUT"}) {
    mg_connection conn(method, "/custom_restore/x");
    EXPECT_EQ(FuncCustomRestore(&conn, nullptr), 1);
    EXPECT_EQ(conn.output, JsonReply(200));
  }
  EXPECT_EQ(TestHost::Get().Lines(), Strings(3, "CustomRestoreCb(, 16, 0)"));
}

}  // namespace
