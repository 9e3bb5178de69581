#include "tests/compare/Trial.h"

#include "tests/compare/RandomCommands.h"
#include "tests/support/HostFiles.h"

#include <algorithm>
#include <utility>

namespace tessary::compare {
namespace {

namespace fs = std::filesystem;

void makeFolder(const Sequence &sequence, const std::string &folder) {
  fs::remove_all(folder);
  for (const char *below : {kImportFolder, kExportFolder})
    fs::create_directories(fs::path(folder) / below);
  test::writeBytes(folder + "/" + kImageName, sequence.image);
  for (const HostFile &file : sequence.hostFiles)
    test::writeBytes(folder + "/" + file.path, file.contents);
}

std::string endingOf(const Run &run) {
  if (run.signal != 0) return "ended by signal " + std::to_string(run.signal);
  return "exit status " + std::to_string(run.status);
}

std::vector<Answer> answersByLine(const std::string &out) {
  std::vector<Answer> answers;
  for (std::size_t at = 0; at < out.size();) {
    const std::size_t end = std::min(out.find('\n', at), out.size());
    std::string line = out.substr(at, end - at);
    const bool succeeded = line.starts_with("{\"ok\":true");
    answers.push_back({std::move(line), succeeded});
    at = end + 1;
  }
  return answers;
}

std::map<std::string, HostEntry> hostFilesIn(const std::string &folder) {
  std::map<std::string, HostEntry> found;
  for (const auto &item : fs::recursive_directory_iterator(folder)) {
    const fs::file_status status = item.symlink_status();
    HostEntry entry{status.type(), status.permissions(), {}};
    if (item.is_regular_file()) entry.contents = test::readBytes(item.path().string(), 0, item.file_size());
    found.emplace(item.path().lexically_relative(folder).string(), std::move(entry));
  }
  return found;
}

void runBatch(const Sequence &sequence, const Program &program, const std::string &folder, Outcome &outcome) {
  const Run run = program.runBatch(sequence.commands, sequence.rules, folder);
  outcome.answers = answersByLine(run.out);
  outcome.ending = endingOf(run) + "\n" + run.err;
  outcome.signal = run.signal;
}

void runOneByOne(const Sequence &sequence, const Program &program, const std::string &folder,
                 Outcome &outcome) {
  for (const Command &command : sequence.commands) {
    const Run run = program.run(command, sequence.rules, folder);
    outcome.answers.push_back({run.out + run.err + endingOf(run), run.status == 0});
    if (run.signal != 0) outcome.signal = run.signal;
  }
}

} // namespace

const std::vector<Command> &listingCommands() {
  static const std::vector<Command> commands{{"ls", "/", "-R"}, {"info"}, {"check"}};
  return commands;
}

Outcome outcomeOf(const Sequence &sequence, const Program &program, const std::string &folder) {
  makeFolder(sequence, folder);
  Outcome outcome;
  if (sequence.isBatch)
    runBatch(sequence, program, folder, outcome);
  else
    runOneByOne(sequence, program, folder, outcome);
  const Run listing = program.runBatch(listingCommands(), sequence.rules, folder);
  outcome.listing = answersByLine(listing.out);
  if (listing.signal != 0) outcome.signal = listing.signal;
  outcome.hostFiles = hostFilesIn(folder);
  outcome.image = std::move(outcome.hostFiles[kImageName].contents);
  outcome.hostFiles.erase(kImageName);
  return outcome;
}

} // namespace tessary::compare
