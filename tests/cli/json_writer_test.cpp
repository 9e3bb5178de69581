#include "cli/JsonWriter.h"

#include <gtest/gtest.h>
#include <limits>
#include <locale>
#include <sstream>
#include <string>

namespace tessary::cli {
namespace {

std::string written(const nlohmann::json &scalar) {
  std::ostringstream out;
  JsonWriter(out).value(scalar);
  return out.str();
}

TEST(JsonWriter, SeparatesMembersAndValues) {
  std::ostringstream out;
  JsonWriter writer(out);
  writer.beginObject().member("ok", true).key("list").beginArray();
  writer.value(1).value("two").beginObject().endObject().beginArray().endArray().value(nullptr);
  writer.endArray().member("last", -5).endObject().endLine();
  EXPECT_EQ(out.str(), "{\"ok\":true,\"list\":[1,\"two\",{},[],null],\"last\":-5}\n");
}

TEST(JsonWriter, NumbersArePlainDigits) {
  EXPECT_EQ(written(std::numeric_limits<std::uint64_t>::max()), "18446744073709551615");
  EXPECT_EQ(written(std::uint8_t{65}), "65");
}

struct Grouping : std::numpunct<char> {
  char do_thousands_sep() const override { return '.'; }
  std::string do_grouping() const override { return "\3"; }
};

TEST(JsonWriter, NumbersDoNotDependOnTheLocale) {
  std::ostringstream out;
  out.imbue(std::locale(std::locale::classic(), new Grouping));
  JsonWriter(out).value(67108864);
  EXPECT_EQ(out.str(), "67108864");
}

TEST(JsonWriter, TextIsEscapedToOneLineOfAnyReader) {
  EXPECT_EQ(written("a\"b\\c\n\t\x1b"), R"("a\"b\\c\n\t\u001b")");
  EXPECT_EQ(written("\x7f \u0085 \u009b \u2028 \u2029"), R"("\u007f \u0085 \u009b \u2028 \u2029")");
  EXPECT_EQ(written("Fl\u00f6te \u2013 \u00a0 \U0001d11e"), "\"Fl\u00f6te \u2013 \u00a0 \U0001d11e\"");
}

TEST(JsonWriter, EscapedTextReadsBack) {
  const std::string text = "a\"\\\n\x7f\u0085\u2028\u2029\u20ac";
  EXPECT_EQ(nlohmann::json::parse(written(text)).get<std::string>(), text);
}

TEST(JsonWriter, BytesThatAreNotUtf8BecomeTheReplacementCharacter) {
  EXPECT_EQ(written(std::string("a\xff"
                                "b\xc2")),
            "\"a\ufffd"
            "b\ufffd\"");
}

TEST(JsonWriter, DeepNestingNeedsNoStack) {
  std::ostringstream out;
  JsonWriter writer(out);
  for (int i = 0; i < 1'000'000; ++i)
    writer.beginArray();
  for (int i = 0; i < 1'000'000; ++i)
    writer.endArray();
  EXPECT_EQ(out.str().size(), 2'000'000U);
}

} // namespace
} // namespace tessary::cli
