// One request for every handler, to be run again and again while something fails.
#pragma once

#include <vector>

#include "library_fixture.h"

namespace sdktest {

struct Scenario {
  const char* name;
  void (*prepare)(mg_connection& conn);  // the request and the host's answers
  int (*run)(mg_connection& conn);       // the handler's result
  bool leavesFailures = false;           // a failed download is left to the web server
};

const std::vector<Scenario>& Scenarios();

void PrintTo(const Scenario& scenario, std::ostream* out);

// Gives the scenarios their logins and files.
class ScenarioTest : public LibraryTest {
 protected:
  ScenarioTest();
  ~ScenarioTest() override;

  // Authentication is on, "tok" is logged in, the server runs.
  static void StartScenario(const Scenario& scenario, mg_connection& conn);

  // Ends what a scenario left behind, so that only leaks remain.
  static void EndScenario();
};

}  // namespace sdktest
