// A power cut at any moment of a command on many items.

#include "cli/TessaryCli.h"
#include "tests/durability/Operations.h"
#include "tests/durability/Trial.h"
#include "tests/support/HostFiles.h"

#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

namespace tessary::test {
namespace {

/// A command and what it asks for.
struct Command {
  std::vector<std::string> words; ///< the image's path goes behind the first
  Asked asked;
  std::string input = "";

  void also(const Operation &operation) { asked += operation.asked; }
};

struct Case {
  std::string name;
  std::function<Command(const OperationMaker &, Layout)> made;
};

void PrintTo(const Case &item, std::ostream *out) {
  *out << item.name;
}

/// Host files NEW0, NEW1… of growing length.
Command importOf(std::size_t count, const std::string &folder, const OperationMaker &maker) {
  Command command{{"import", "-t", folder}, {}};
  for (std::size_t i = 0; i < count; ++i) {
    const std::string name = "NEW" + std::to_string(i);
    const Bytes contents = patternBytes(i * 300, static_cast<std::uint32_t>(50 + i));
    command.also(maker.importFile(name, contents, maker.at(folder)));
    command.words.push_back(maker.hostFile(name, contents));
  }
  return command;
}

/// "/Full/F1" to "/Full/F15".
std::vector<std::string> manyFiles() {
  std::vector<std::string> paths;
  for (int i = 1; i < 16; ++i)
    paths.push_back("/Full/F" + std::to_string(i));
  return paths;
}

Command copyOf(const std::vector<std::string> &files, const std::string &folder,
               const OperationMaker &maker) {
  Command command{{"cp"}, {}};
  for (const std::string &file : files) {
    command.also(maker.copyFile(maker.at(file), maker.at(folder)));
    command.words.push_back(file);
  }
  command.words.push_back(folder);
  return command;
}

Command moveOf(const std::vector<std::string> &files, const std::string &folder,
               const OperationMaker &maker) {
  Command command{{"mv"}, {}};
  for (const std::string &file : files) {
    command.also(maker.moveFile(maker.at(file), maker.at(folder)));
    command.words.push_back(file);
  }
  command.words.push_back(folder);
  return command;
}

Command removalOf(const std::vector<std::string> &files, const OperationMaker &maker) {
  Command command{{"rm"}, {}};
  for (const std::string &file : files) {
    command.also(maker.deleteFile(maker.at(file)));
    command.words.push_back(file);
  }
  return command;
}

/// The new one is there before the old one goes.
Command replacementOf(const std::string &old, const OperationMaker &maker) {
  const Bytes contents = patternBytes(3000, 7);
  Command command{{"batch"}, {}};
  command.input = "import '" + maker.hostFile("NEW", contents) + "' -t /Part\nrm " + old + "\n";
  command.also(maker.importFile("NEW", contents, maker.at("/Part")));
  command.also(maker.deleteFile(maker.at(old)));
  command.asked.newFiles.front().replaced = maker.at(old);
  return command;
}

Command batchOfAll(const OperationMaker &maker, Layout layout) {
  const Bytes contents = patternBytes(2600, 7);
  Command command{{"batch"}, {}};
  command.input = "import '" + maker.hostFile("NEW", contents) +
                  "' -t /Full\n"
                  "mkdir /Part/Made\n"
                  "mv /ROOT1 /EMPTY /Void\n"
                  "cp /Part/P2 /Nest/Inner\n"
                  "rm /Full/F1 /Full/F2\n"
                  "rename /Nest Nested\n"
                  "rename /ROOT2 Renamed\n"
                  "recover --block " +
                  std::to_string(lostBlock(layout)) + " --to / --name Back\n";
  command.also(maker.importFile("NEW", contents, maker.at("/Full")));
  command.also(maker.createFolder("Made", maker.at("/Part")));
  command.also(maker.moveFile(maker.at("/ROOT1"), maker.at("/Void")));
  command.also(maker.moveFile(maker.at("/EMPTY"), maker.at("/Void")));
  command.also(maker.copyFile(maker.at("/Part/P2"), maker.at("/Nest/Inner")));
  command.also(maker.deleteFile(maker.at("/Full/F1")));
  command.also(maker.deleteFile(maker.at("/Full/F2")));
  command.also(maker.renameFolder(maker.at("/Nest"), "Nested"));
  command.also(maker.renameFile(maker.at("/ROOT2"), "Renamed"));
  command.also(maker.recoverFolder(lostBlock(layout), "Back", maker.at("/")));
  return command;
}

std::vector<Case> cases() {
  using Maker = const OperationMaker &;
  const std::vector<std::string> several{"/ROOT1", "/ROOT2", "/EMPTY", "/Nest/N1", "/Nest/Inner/I2"};
  return {
      {"ImportFive", [](Maker maker, Layout) { return importOf(5, "/Part", maker); }},
      {"ImportGrowingTwice", [](Maker maker, Layout) { return importOf(20, "/Full", maker); }},
      {"CopySeveral", [=](Maker maker, Layout) { return copyOf(several, "/Void", maker); }},
      {"CopyManyGrowing", [](Maker maker, Layout) { return copyOf(manyFiles(), "/Part", maker); }},
      {"MoveSeveral", [=](Maker maker, Layout) { return moveOf(several, "/Part", maker); }},
      {"MoveSeveralGrowing", [=](Maker maker, Layout) { return moveOf(several, "/Full", maker); }},
      {"MoveManyGrowing", [](Maker maker, Layout) { return moveOf(manyFiles(), "/Part", maker); }},
      {"RemoveSeveral", [=](Maker maker, Layout) { return removalOf(several, maker); }},
      {"RemoveMany", [](Maker maker, Layout) { return removalOf(manyFiles(), maker); }},
      {"RemoveTree",
       [](Maker maker, Layout) {
         return Command{{"rmdir", "/Nest", "-R"}, maker.deleteFolder(maker.at("/Nest")).asked};
       }},
      {"Replace", [](Maker maker, Layout) { return replacementOf("/Part/P2", maker); }},
      {"Batch", batchOfAll},
  };
}

/// What the tool prints. Each line says that something is done, but for the one with which `recover` begins.
class Reports : public std::stringbuf {
public:
  explicit Reports(BarrierRecorder &recorder) : recorder_(recorder) {}

private:
  int sync() override {
    const std::string_view text = view();
    const bool isReport = text.size() > seen_ && !text.substr(seen_).starts_with("The folder in block ");
    seen_ = text.size();
    if (isReport) recorder_.noteReport();
    return 0;
  }

  BarrierRecorder &recorder_;
  std::size_t seen_ = 0;
};

/// A volume in a host folder, and a command that runs on it.
Attempt attemptOf(const Case &item, Layout layout) {
  struct Asking {
    const TemporaryFolder host;
    Command command;
    std::string complaints;
  };
  const auto asking = std::make_shared<Asking>();
  const std::string image = asking->host.path("disk.hda");
  volumeToChange(layout).writeTo(image);
  const Bytes before = readBytes(image);
  asking->command = item.made(OperationMaker(before, asking->host), layout);
  const auto ask = [asking, image](BarrierRecorder &recorder) {
    std::vector<std::string> words = asking->command.words;
    words.insert(words.begin() + 1, image);
    std::istringstream in(asking->command.input);
    Reports reports(recorder);
    std::ostream out(&reports);
    std::ostringstream err;
    const int status = runTessaryCli(words, in, out, err);
    asking->complaints = err.str();
    return status == 0;
  };
  return {{image}, std::make_shared<Judge>(before, asking->command.asked), ask, [asking] {
            return asking->complaints;
          }};
}

class PowerCutOfACommand : public testing::TestWithParam<std::tuple<Case, Layout>> {
protected:
  static Attempt attempt() { return attemptOf(std::get<0>(GetParam()), std::get<1>(GetParam())); }
};

TEST_P(PowerCutOfACommand, LosesNothingAndLeavesNothingHalf) {
  expectNothingIsLost(attempt);
}

TEST_P(PowerCutOfACommand, IsSeenWhereABarrierIsLeftOut) {
  expectEachBarrierIsNeeded(attempt);
}

TEST_P(PowerCutOfACommand, LosesNothingWhereTheMediumRefusesABarrier) {
  expectRefusalsLoseNothing(attempt);
}

std::string nameOfCase(const testing::TestParamInfo<std::tuple<Case, Layout>> &info) {
  return std::get<0>(info.param).name + nameOf(std::get<1>(info.param));
}

INSTANTIATE_TEST_SUITE_P(Commands, PowerCutOfACommand,
                         testing::Combine(testing::ValuesIn(cases()),
                                          testing::Values(Layout::tight, Layout::apart)),
                         nameOfCase);

} // namespace
} // namespace tessary::test
