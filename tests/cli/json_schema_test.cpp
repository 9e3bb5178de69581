#include "tests/cli/CliRun.h"
#include "tests/cli/JsonSchema.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace tessary::test {
namespace {

std::string misfitOfText(const char *text, const std::string &schema) {
  return misfit(parsedJson(text), schema);
}

TEST(JsonSchema, FitsOnlyWithEveryMemberAndNoOther) {
  EXPECT_EQ(misfitOfText(R"({"ok":true,"samples":["E4S1"]})", "samples"), "");
  EXPECT_NE(misfitOfText(R"({"ok":true})", "samples"), "");
  EXPECT_NE(misfitOfText(R"({"ok":true,"samples":[],"more":1})", "samples"), "");
  EXPECT_NE(misfitOfText(R"({"ok":false,"samples":[]})", "samples"), "");
  EXPECT_NE(misfitOfText(R"({"ok":true,"samples":[1]})", "samples"), "");
  EXPECT_NE(misfitOfText(R"([])", "samples"), "");
}

TEST(JsonSchema, FollowsReferencesAndKnowsWhatMayBeLeftOut) {
  EXPECT_EQ(misfitOfText(R"({"ok":true,"results":[{"item":"/A","ok":true,"place":"@7:3","host":null}]})",
                         "results"),
            "");
  EXPECT_NE(misfitOfText(R"({"ok":true,"results":[{"item":"/A","ok":true,"place":"7:3"}]})", "results"), "");
  EXPECT_NE(misfitOfText(R"({"ok":true,"results":[{"item":"/A"}]})", "results"), "");
  EXPECT_NE(misfitOfText(R"({"ok":false,"error":{"domain":"d","code":"4","message":"m"}})", "failure"), "");
}

} // namespace
} // namespace tessary::test
