#include "bench/Workplace.h"

#include "bench/Processes.h"
#include "tests/support/HostFiles.h"

#include <filesystem>
#include <utility>

namespace tessary::bench {

namespace fs = std::filesystem;

Workplace::Workplace(const std::string &programs, std::string wanted)
    : cli(programs + "/tessary-cli"), self(programs + "/compare_speed"), window(programs + "/tessary"),
      bareWindow(programs + "/bare_window"), wanted_(std::move(wanted)) {}

void Workplace::line(const Comparison &comparison) const {
  if (isWanted(comparison.work)) compare(comparison);
}

void Workplace::processes(const std::string &work, const std::string &beside, double aim, const Words &ours,
                          const Words &other, const std::function<void()> &prepare) const {
  line({work, beside, aim, [=] { return run(ours).cpuSeconds; }, [=] { return run(other).cpuSeconds; },
        prepare});
}

std::string Workplace::image(const std::string &name, const std::function<test::ImageBuilder()> &make) const {
  std::string file = path(name);
  if (!fs::exists(file)) doElsewhere([&] { make().writeTo(file); });
  return file;
}

std::string Workplace::fatImage(const std::string &name, std::uint64_t bytes,
                                const std::string &hostFolder) const {
  std::string file = path(name);
  test::writeText(file, "");
  fs::resize_file(file, bytes);
  run({"mformat", "-i", file, "-T", std::to_string(bytes / 512), "-h", "255", "-s", "63", "-F", "::"});
  Words copy{"mcopy", "-s", "-i", file};
  for (const fs::directory_entry &entry : fs::directory_iterator(hostFolder))
    copy.push_back(entry.path().string());
  copy.emplace_back("::/");
  run(copy);
  return file;
}

bool Workplace::hasMtools(const std::string &work, const std::string &program) const {
  if (isInstalled("mformat") && isInstalled("mcopy") && isInstalled(program)) return true;
  printLeftOut(work, program, "mtools is not installed");
  return false;
}

} // namespace tessary::bench
