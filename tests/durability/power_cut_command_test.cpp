// A power cut at any moment of a command on many items.

#include "cli/TessaryCli.h"
#include "tests/durability/CutCount.h"
#include "tests/durability/Operations.h"
#include "tests/durability/PowerCuts.h"
#include "tests/support/HostFiles.h"

#include <gtest/gtest.h>

#include <functional>
#include <iostream>
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
class Trial {
public:
  Trial(const Case &item, Layout layout)
      : image_(written(volumeToChange(layout), host_.path("disk.hda"))), maker_(readBytes(image_), host_),
        command_(item.made(maker_, layout)), recorder_(image_), judge_(readBytes(image_), command_.asked) {}

  void leaveOut(std::size_t barrier, Omission how) { recorder_.leaveOut(barrier, how); }
  CutCount run() {
    ask();
    return countCuts(recorder_.take(), judge_, status_ == 0);
  }
  /// Whether each barrier is in use.
  std::vector<bool> barriers() {
    ask();
    return PowerCuts(recorder_.take()).barriersInUse();
  }
  /// With all that comes from this barrier on.
  CutCount runFrom(std::size_t barrier) {
    ask();
    return countCutsFrom(barrier, recorder_.take(), judge_, status_ == 0);
  }
  [[nodiscard]] int status() const { return status_; }
  /// What the tool complained about.
  [[nodiscard]] const std::string &complaints() const { return complaints_; }

private:
  static std::string written(const ImageBuilder &image, const std::string &path) {
    image.writeTo(path);
    return path;
  }
  void ask() {
    std::vector<std::string> words = command_.words;
    words.insert(words.begin() + 1, image_);
    std::istringstream in(command_.input);
    Reports reports(recorder_);
    std::ostream out(&reports);
    std::ostringstream err;
    status_ = runTessaryCli(words, in, out, err);
    complaints_ = err.str();
  }

  const TemporaryFolder host_;
  const std::string image_;
  const OperationMaker maker_;
  const Command command_;
  BarrierRecorder recorder_;
  const Judge judge_;
  int status_ = -1;
  std::string complaints_;
};

class PowerCutOfACommand : public testing::TestWithParam<std::tuple<Case, Layout>> {
protected:
  static Trial trial() { return Trial(std::get<0>(GetParam()), std::get<1>(GetParam())); }
};

TEST_P(PowerCutOfACommand, LosesNothingAndLeavesNothingHalf) {
  Trial once = trial();
  const CutCount count = once.run();
  EXPECT_EQ(once.status(), 0) << once.complaints();
  EXPECT_GT(count.barriers, 0U) << "nothing was waited for";
  EXPECT_EQ(count.faults(), "");
  RecordProperty("states", static_cast<int>(count.states));
  std::cout << count.states << " states, " << count.barriers << " barriers\n";
}

TEST_P(PowerCutOfACommand, IsSeenWhereABarrierIsLeftOut) {
  const std::vector<bool> isInUse = trial().barriers();
  ASSERT_FALSE(isInUse.empty()) << "nothing was waited for";
  for (std::size_t barrier = 0; barrier < isInUse.size(); ++barrier) {
    const std::string which =
        "without barrier " + std::to_string(barrier + 1) + " of " + std::to_string(isInUse.size());
    if (!isInUse[barrier]) {
      std::cout << which << ": it brings nothing to the medium\n";
      continue;
    }
    Trial without = trial();
    without.leaveOut(barrier, Omission::lost);
    const CutCount found = without.runFrom(barrier);
    EXPECT_TRUE(found.isFaulty()) << which;
    std::cout << which << ": " << found.faults() << '\n';
  }
}

TEST_P(PowerCutOfACommand, LosesNothingWhereTheMediumRefusesABarrier) {
  const std::size_t barriers = trial().barriers().size();
  ASSERT_GT(barriers, 0U) << "nothing was waited for";
  for (std::size_t barrier = 0; barrier < barriers; ++barrier) {
    const testing::ScopedTrace trace(__FILE__, __LINE__, "barrier " + std::to_string(barrier + 1));
    Trial refused = trial();
    refused.leaveOut(barrier, Omission::refused);
    const CutCount found = refused.runFrom(barrier);
    EXPECT_EQ(refused.status(), 1);
    EXPECT_NE(refused.complaints().find("Data write failed"), std::string::npos) << refused.complaints();
    EXPECT_EQ(found.faults(), "");
    EXPECT_EQ(found.barriers, barrier + 1) << "it was tried again";
  }
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
