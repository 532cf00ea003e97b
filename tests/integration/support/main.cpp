// Runs the tests of one program inside a temporary folder of its own.
#include <gtest/gtest.h>

#include <csignal>

#include "server.h"
#include "workspace.h"

namespace {

class Surroundings : public ::testing::Environment {
 public:
  void SetUp() override { integration::Workspace::Get().Enter(); }
  void TearDown() override {
    integration::Server::Get().Stop();
    integration::Workspace::Get().Remove();
  }
};

}  // namespace

int main(int argc, char** argv) {
  std::signal(SIGPIPE, SIG_IGN);
  ::testing::InitGoogleTest(&argc, argv);
  ::testing::AddGlobalTestEnvironment(new Surroundings);
  return RUN_ALL_TESTS();
}
