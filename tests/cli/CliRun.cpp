#include "tests/cli/CliRun.h"

#include "cli/Addresses.h"
#include "tests/cli/JsonSchema.h"
#include "tests/support/MountedVolume.h"

#include <algorithm>
#include <filesystem>
#include <sstream>
#include <stdexcept>

namespace tessary::test {

std::ostream &operator<<(std::ostream &stream, const Answer &answer) {
  return stream << "status " << answer.status << "\nout:\n" << answer.out << "\nerr:\n" << answer.err;
}

Answer runCli(const std::vector<std::string> &words, const std::string &input,
              const CliSurroundings &surroundings) {
  std::istringstream in(input);
  std::ostringstream out;
  std::ostringstream err;
  Answer answer;
  answer.status = runTessaryCli(words, in, out, err, surroundings);
  answer.out = out.str();
  answer.err = err.str();
  // With "-o -" the answer stands on standard error.
  if (std::find(words.begin(), words.end(), "--json") != words.end())
    for (const std::string &text : {answer.out, answer.err})
      expectFitsSchema(words, text);
  return answer;
}

nlohmann::json parsedJson(std::string_view text) {
  return nlohmann::json::parse(text);
}

std::vector<nlohmann::json> jsonLines(const std::string &out) {
  std::vector<nlohmann::json> objects;
  std::istringstream lines(out);
  for (std::string line; std::getline(lines, line);) {
    objects.push_back(parsedJson(line));
    EXPECT_TRUE(objects.back().is_object() && objects.back().contains("ok")) << line;
  }
  EXPECT_TRUE(out.empty() || out.back() == '\n') << "the last line is not complete";
  return objects;
}

nlohmann::json jsonOf(const Answer &answer) {
  const std::vector<nlohmann::json> objects = jsonLines(answer.out);
  EXPECT_EQ(answer.err, "");
  EXPECT_EQ(objects.size(), 1U) << answer.out;
  if (objects.size() != 1) return {};
  EXPECT_EQ(objects.front().at("ok").get<bool>(), answer.status == 0);
  return objects.front();
}

nlohmann::json itemsOf(nlohmann::json answer) {
  if (!answer.contains("results")) return answer;
  for (nlohmann::json &result : answer.at("results")) {
    for (const char *member : {"path", "place", "host", "bytes"})
      result.erase(member);
  }
  return answer;
}

nlohmann::json allDone(const std::vector<std::string> &items) {
  nlohmann::json results = nlohmann::json::array();
  for (const std::string &item : items)
    results.push_back({{"item", item}, {"ok", true}});
  return {{"ok", true}, {"results", results}};
}

nlohmann::json failure(const std::string &domain, int code, const std::string &message) {
  return {{"ok", false}, {"error", {{"domain", domain}, {"code", code}, {"message", message}}}};
}

CurrentFolder::CurrentFolder(const std::string &path) : before_(std::filesystem::current_path()) {
  std::filesystem::current_path(path);
}

CurrentFolder::~CurrentFolder() {
  std::filesystem::current_path(before_);
}

void CliTest::makeReadOnly() const {
  using std::filesystem::perms;
  constexpr perms readable = perms::owner_read | perms::group_read | perms::others_read;
  constexpr perms reachable = perms::owner_exec | perms::group_exec | perms::others_exec;
  std::filesystem::permissions(imagePath(), readable);
  std::filesystem::permissions(hostPath(""), readable | reachable | perms::owner_write);
}

std::string CliTest::newHostFolder(std::string_view name) const {
  const std::string path = hostPath(name);
  std::filesystem::create_directory(path);
  return path;
}

Answer CliTest::cli(const std::string &command, const std::vector<std::string> &rest,
                    const CliSurroundings &surroundings) const {
  std::vector<std::string> words{command, imagePath()};
  words.insert(words.end(), rest.begin(), rest.end());
  return runCli(words, "", surroundings);
}

nlohmann::json CliTest::cliJson(const std::string &command, std::vector<std::string> rest) const {
  rest.insert(rest.begin(), "--json");
  return jsonOf(cli(command, rest));
}

nlohmann::json CliTest::cliItems(const std::string &command, std::vector<std::string> rest) const {
  return itemsOf(cliJson(command, std::move(rest)));
}

Answer CliTest::batch(const std::string &lines, const std::vector<std::string> &options) const {
  std::vector<std::string> words{"batch", imagePath()};
  words.insert(words.end(), options.begin(), options.end());
  return runCli(words, lines);
}

EMU3FilesystemPtr CliTest::mounted() const {
  return readAnew(imagePath());
}

std::vector<std::string> CliTest::volumeNames(const std::string &folder) const {
  const EMU3FilesystemPtr volume = mounted();
  const EMU3DirectoryPtr directory = cli::resolveFolder(*volume, folder).directory;
  std::vector<std::string> names;
  for (const EMU3FilePtr &file : directory->allFiles())
    names.push_back(file->name());
  for (const EMU3DirectoryPtr &each : directory->subdirectories())
    names.push_back(each->name() + "/");
  return names;
}

} // namespace tessary::test
