// A release is named in several places: all must name the same one.

#include "tests/support/HostFiles.h"

#include <gtest/gtest.h>
#include <iomanip>
#include <regex>
#include <sstream>
#include <string>

namespace tessary::test {
namespace {

struct Release {
  std::string version;
  std::string date; // 2026-11-22

  bool operator==(const Release &) const = default;
};

void PrintTo(const Release &release, std::ostream *out) {
  *out << release.version << " of " << release.date;
}

/// What the two groups of the pattern hold where the file first matches it.
Release firstIn(const std::string &file, const std::string &pattern) {
  const std::string text = readText(TESSARY_SOURCE_FOLDER "/" + file);
  std::smatch found;
  if (!std::regex_search(text, found, std::regex(pattern))) return {};
  return {.version = found[1], .date = found[2]};
}

/// The date of a line as a mail has it, "Sun, 22 Nov 2026 12:00:00 +0000".
std::string dateOfMail(const std::string &line) {
  std::tm date{};
  std::istringstream words(line);
  words >> std::get_time(&date, "%a, %d %b %Y");
  std::ostringstream text;
  text << std::put_time(&date, "%Y-%m-%d");
  return text.str();
}

TEST(ProjectRelease, IsTheSameInChangeLogPackagesAndDesktopCatalogue) {
  const Release release = firstIn("CHANGELOG.md", R"(\n## (\S+) \((\S+)\))");
  EXPECT_EQ(release.version, TESSARY_VERSION);
  EXPECT_TRUE(std::regex_match(release.date, std::regex(R"(\d{4}-\d\d-\d\d)"))) << release.date;
  EXPECT_EQ(release, firstIn("packaging/linux/com.tessary.Tessary.metainfo.xml",
                             R"re(<release version="([^"]+)" date="([^"]+)")re"));
  Release ofPackages =
      firstIn("packaging/debian/changelog", R"(^tessary \((.+)-\d+\)[^]*?\n -- .+>  (.+ \d{4}) )");
  ofPackages.date = dateOfMail(ofPackages.date);
  EXPECT_EQ(release, ofPackages);
}

} // namespace
} // namespace tessary::test
