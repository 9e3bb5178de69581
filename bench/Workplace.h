#pragma once

#include "bench/SpeedTable.h"
#include "tests/support/ImageBuilder.h"
#include "tests/support/TemporaryFolder.h"

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace tessary::bench {

using Words = std::vector<std::string>;

/// What the lines of the speed table are made with: the programs, a folder in memory, and which lines are
/// asked for.
class Workplace final {
public:
  /// `programs` is the folder of the built programs. Only lines whose work has `wanted` in it are made.
  Workplace(const std::string &programs, std::string wanted);

  [[nodiscard]] bool isWanted(const std::string &work) const {
    return work.find(wanted_) != std::string::npos;
  }
  void line(const Comparison &comparison) const;
  /// A line of two whole processes.
  void processes(const std::string &work, const std::string &beside, double aim, const Words &ours,
                 const Words &other, const std::function<void()> &prepare) const;

  [[nodiscard]] std::string path(const std::string &name) const { return folder_.path(name); }
  /// Writes an image, which is made in a process of its own so that this one stays small.
  [[nodiscard]] std::string image(const std::string &name,
                                  const std::function<test::ImageBuilder()> &make) const;
  /// An image of the FAT kind with all that is in the host folder.
  [[nodiscard]] std::string fatImage(const std::string &name, std::uint64_t bytes,
                                     const std::string &hostFolder) const;
  /// Whether that program of mtools is there; prints the line as left out otherwise.
  [[nodiscard]] bool hasMtools(const std::string &work, const std::string &program) const;

  const std::string cli, self, window, bareWindow; ///< programs

private:
  const std::string wanted_;
  const test::TemporaryFolder folder_;
};

// The table's lines.
void compareProcesses(const Workplace &place);
void compareMountedWork(const Workplace &place);
/// Another table: how the cost of work grows with files, folders and bytes.
void showGrowth(const Workplace &place);

/// Reads host files one by one and copies their bytes into the mapping of an image, one behind the other from
/// its data area on: the plain counterpart of an import.
void copyIntoMapping(const std::string &image, const Words &hostFiles);

} // namespace tessary::bench
