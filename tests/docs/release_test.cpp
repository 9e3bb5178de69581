// A release is named in several places: all must name the same one.

#include "tests/support/HostFiles.h"

#include <gtest/gtest.h>
#include <iomanip>
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

/// Takes off the front of the text all up to the end of `before`, and all up to `behind`, which it returns.
std::string takeBetween(std::string *text, const std::string &before, const std::string &behind) {
  const std::size_t begin = text->find(before);
  if (begin == std::string::npos) return {};
  const std::size_t end = text->find(behind, begin + before.size());
  if (end == std::string::npos) return {};
  const std::string between = text->substr(begin + before.size(), end - begin - before.size());
  text->erase(0, end);
  return between;
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

std::string textOf(const std::string &file) {
  return readText(TESSARY_SOURCE_FOLDER "/" + file);
}

Release ofChangeLog() {
  std::string text = textOf("CHANGELOG.md");
  const std::string version = takeBetween(&text, "\n## ", " (");
  return {version, takeBetween(&text, "(", ")")};
}

Release ofCatalogue() {
  std::string text = textOf("packaging/linux/com.tessary.Tessary.metainfo.xml");
  const std::string version = takeBetween(&text, "<release version=\"", "\"");
  return {version, takeBetween(&text, "date=\"", "\"")};
}

Release ofPackages() {
  std::string text = textOf("packaging/debian/changelog");
  const std::string version = takeBetween(&text, "tessary (", "-");
  takeBetween(&text, "\n -- ", "<");
  return {version, dateOfMail(takeBetween(&text, ">  ", "\n"))};
}

TEST(ProjectRelease, IsTheSameInChangeLogPackagesAndDesktopCatalogue) {
  EXPECT_EQ(ofChangeLog().version, TESSARY_VERSION);
  EXPECT_EQ(ofCatalogue(), ofChangeLog());
  EXPECT_EQ(ofPackages(), ofChangeLog());
}

} // namespace
} // namespace tessary::test
