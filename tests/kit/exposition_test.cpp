// The text format of metrics, to the letter.
#include "metrics/exposition.h"

#include <gtest/gtest.h>

#include <limits>

namespace sdkkit {
namespace {

TEST(Exposition, WritesHelpAndKindOnceAMetric) {
  Exposition text;
  text.Add("a_total", "Some \\ and\nmore.", true, R"(to="x")", 1);
  text.Add("a_total", "Some \\ and\nmore.", true, R"(to="y")", 18446744073709551615.0);
  text.Add("b", "B.", false, "", 0.5);
  EXPECT_EQ(text.Take(),
            "# HELP a_total Some \\\\ and\\nmore.\n# TYPE a_total counter\na_total{to=\"x\"} 1\n"
            "a_total{to=\"y\"} 18446744073709551616\n# HELP b B.\n# TYPE b gauge\nb 0.5\n");
}

TEST(Exposition, WritesWhatIsNoNumber) {
  Exposition text;
  text.Add("a", "A.", false, "", std::numeric_limits<double>::quiet_NaN());
  text.Add("a", "A.", false, "", std::numeric_limits<double>::infinity());
  text.Add("a", "A.", false, "", -std::numeric_limits<double>::infinity());
  EXPECT_EQ(text.Take(), "# HELP a A.\n# TYPE a gauge\na NaN\na +Inf\na -Inf\n");
}

TEST(Exposition, KnowsNames) {
  for (const char* good : {"a", "_", "a:b_c9"}) EXPECT_TRUE(IsMetricName(good)) << good;
  for (const char* bad : {"", "9a", "a b", "a-b", "a{", "\xc3\xbc", "a\n"})
    EXPECT_FALSE(IsMetricName(bad)) << bad;
}

TEST(Exposition, KnowsLabels) {
  for (const char* good : {"", R"(a="")", R"(a="1",b="2")", R"(a="\"\\\n}")"})
    EXPECT_TRUE(IsLabelList(good)) << good;
  for (const char* bad : {"a", "a=", "a=1", R"(a="1)", R"(a="1",)", R"(a="1"b="2")", R"(="1")", R"(a="\t")",
                          "a=\"\n\"", R"(a:b="1")", R"(a="1"} 5)"}) {
    EXPECT_FALSE(IsLabelList(bad)) << bad;
  }
}

}  // namespace
}  // namespace sdkkit
