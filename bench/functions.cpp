// What single functions cost, and how their cost grows.
#include <benchmark/benchmark.h>

#include <cstring>
#include <string>
#include <vector>

#include "sdkapi/sdkapi.h"
#include "server/lifecycle.h"
#include "session/login_registry.h"

namespace {

// Finds the login that registered last among N: the list is walked from the front.
void FindNewestLogin(benchmark::State& state) {
  SdkAPISer_AuthenticationSwitch_Set(1);
  sdkapi::UsrManageTask();
  std::string token;
  for (int64_t i = 0; i < state.range(0); ++i) {
    token = "token-" + std::to_string(i) + std::string(32, 'x');
    const sdkapi::LoginRef login = sdkapi::NewLogin();
    sdkapi::RegisterLogin(login, token.c_str());
  }
  for (auto _ : state) benchmark::DoNotOptimize(GetLoginHandle(token.c_str()));
  state.SetComplexityN(state.range(0));
}
BENCHMARK(FindNewestLogin)->RangeMultiplier(10)->Range(1, 1000)->Complexity(benchmark::oN);

void ComposeReply(benchmark::State& state) {
  const std::string body(static_cast<std::size_t>(state.range(0)), 'b');
  std::vector<char> out(body.size() + 512);
  for (auto _ : state) {
    GroupRespHttpMsg(200, body.c_str(), static_cast<int>(body.size()), out.data(), 1);
    benchmark::DoNotOptimize(out.data());
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(ComposeReply)->RangeMultiplier(16)->Range(16, 65536)->Complexity(benchmark::oN);

void ClassifyUploadUrl(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(UploadUrlConversionFuncID("/upload/edid"));
}
BENCHMARK(ClassifyUploadUrl);

void CheckPassword(benchmark::State& state) {
  for (auto _ : state) benchmark::DoNotOptimize(DataFormatverification("Correct-Horse-7-Battery"));
}
BENCHMARK(CheckPassword);

void AddAndRemoveSession(benchmark::State& state) {
  InitUsrIdStack(nullptr);
  for (auto _ : state) {
    AddUsrIdToStack("session");
    DelUsrIdStack("session");
  }
}
BENCHMARK(AddAndRemoveSession);

}  // namespace

BENCHMARK_MAIN();
