#pragma once

#include "cli/TessaryCli.h"
#include "tessary/EMU3Filesystem.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/TemporaryFolder.h"

#include <gtest/gtest.h>
#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace tessary::test {

/// What one run of the tool gave back.
struct Answer {
  int status = -1;
  std::string out;
  std::string err;

  bool operator==(const Answer &) const = default;
};
std::ostream &operator<<(std::ostream &stream, const Answer &answer);

/// Runs the tool in the process.
Answer runCli(const std::vector<std::string> &words, const std::string &input = "",
              const CliSurroundings &surroundings = {});

/// The lines of an answer in JSON; fails the test where a line is no object with "ok".
std::vector<nlohmann::json> jsonLines(const std::string &out);
/// The one object of an answer in JSON.
nlohmann::json jsonOf(const Answer &answer);
nlohmann::json parsedJson(std::string_view text);

/// An answer in JSON, of whose results only the items, whether they were done, and the errors are kept.
nlohmann::json itemsOf(nlohmann::json answer);
/// The answer that `itemsOf` gives for a command that did every item.
nlohmann::json allDone(const std::vector<std::string> &items);
/// An answer in JSON of a command that failed as a whole.
nlohmann::json failure(const std::string &domain, int code, const std::string &message);

/// Makes a folder the current one for the scope.
class CurrentFolder {
public:
  explicit CurrentFolder(const std::string &path);
  ~CurrentFolder();
  CurrentFolder(const CurrentFolder &) = delete;
  CurrentFolder &operator=(const CurrentFolder &) = delete;

private:
  std::string before_;
};

/// A test that works on one image, in a folder of its own.
class CliTest : public testing::Test {
protected:
  /// Puts the image where `image()` is.
  void use(const ImageBuilder &image) const { image.writeTo(imagePath()); }
  /// Takes the right to write to the image away; root keeps it, see OtherUser.
  void makeReadOnly() const;
  std::string imagePath() const { return folder_.path("disk.hda"); }
  std::string hostPath(std::string_view name) const { return folder_.path(name); }
  /// A new host folder.
  std::string newHostFolder(std::string_view name) const;

  /// COMMAND IMAGE REST...
  Answer cli(const std::string &command, const std::vector<std::string> &rest = {},
             const CliSurroundings &surroundings = {}) const;
  /// The same with --json, which is parsed.
  nlohmann::json cliJson(const std::string &command, std::vector<std::string> rest = {}) const;
  /// The same with the items alone (itemsOf).
  nlohmann::json cliItems(const std::string &command, std::vector<std::string> rest = {}) const;
  Answer batch(const std::string &lines, const std::vector<std::string> &options = {}) const;

  /// The image parsed anew.
  EMU3FilesystemPtr mounted() const;
  /// Names of the live files and of the subfolders of a folder, from a fresh parse: "KICK", "Drums/".
  std::vector<std::string> volumeNames(const std::string &folder = "/") const;

private:
  TemporaryFolder folder_;
};

} // namespace tessary::test
