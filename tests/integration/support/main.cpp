// Runs the tests of one program inside a temporary folder of its own.
#include <gtest/gtest.h>

#include <csignal>

#include "server_test_base.h"

namespace {

std::vector<std::string> arguments;

class Surroundings : public ::testing::Environment {
 public:
  void SetUp() override { integration::Workspace::Get().Enter(); }
  void TearDown() override {
    integration::Server::Get().Stop();
    integration::Workspace::Get().Remove();
  }
};

}  // namespace

const std::vector<std::string>& integration::Arguments() { return arguments; }

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  ::testing::InitGoogleTest(&argc, argv);
  arguments.assign(argv + 1, argv + argc);
  ::testing::AddGlobalTestEnvironment(new Surroundings);
  return RUN_ALL_TESTS();
}
