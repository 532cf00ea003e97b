// Owners of C resources.
#include "base/owned.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

TEST(FileDescriptor, NumberZeroIsClosedToo) {
  const int input = dup(0);
  close(0);
  {
    const sdkapi::FileDescriptor file(open("/dev/null", O_RDONLY | O_CLOEXEC));
    EXPECT_EQ(file.get(), 0) << "what a process without standard input opens first";
  }
  EXPECT_EQ(fcntl(0, F_GETFD), -1);
  dup2(input, 0);
  close(input);
}

}  // namespace
