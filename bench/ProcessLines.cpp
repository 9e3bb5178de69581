#include "bench/Processes.h"
#include "bench/SpeedVolumes.h"
#include "bench/Workplace.h"
#include "tests/support/HostFiles.h"
#include "tests/support/SampleVolumes.h"

#include <filesystem>

// Lines of the speed table that are measured on whole processes.
namespace tessary::bench {
namespace {

namespace fs = std::filesystem;

Words joined(Words words, const Words &more) {
  words.insert(words.end(), more.begin(), more.end());
  return words;
}

void importLarge(const Workplace &place) {
  const std::string work = "import 64 x 2 MiB";
  if (!place.isWanted(work)) return;
  const Words files = writeLargeFiles(place.path("large"), 64);
  const std::string empty = place.image("empty.hda", [] { return largeFilesVolume(0); });
  const std::string image = place.path("import.hda");
  const std::string copies = place.path("copies");
  const Words ours = joined(joined({place.cli, "import", image}, files), {"-t", "/Banks"});
  const auto prepare = [=] {
    test::copySparse(empty, image);
    fs::remove_all(copies);
  };
  place.processes(work, "copy into the mapping", 1.05, ours,
                  joined({place.self, "copy-into-mapping", image}, files), prepare);
  place.processes(work, "cp -r", 1.5, ours, {"cp", "-r", place.path("large"), copies}, prepare);
  fs::remove_all(copies);
  fs::remove(image);
}

void copyInside(const Workplace &place) {
  const std::string work = "copy inside 32 x 2 MiB";
  if (!place.isWanted(work)) return;
  writeLargeFiles(place.path("large32"), 32);
  const std::string full = place.image("full32.hda", [] { return largeFilesVolume(32); });
  const std::string image = place.path("copy.hda");
  const std::string copies = place.path("copies");
  place.processes(work, "cp -r", 1.2, {place.cli, "cp", image, "/Banks/*", "/Copies"},
                  {"cp", "-r", place.path("large32"), copies}, [=] {
                    test::copySparse(full, image);
                    fs::remove_all(copies);
                  });
  fs::remove_all(copies);
  fs::remove(image);
}

void removeLarge(const Workplace &place) {
  const std::string work = "rm of 64 x 2 MiB";
  if (!place.isWanted(work) || !place.hasMtools(work, "mdel")) return;
  writeLargeFiles(place.path("large"), 64);
  const std::string full = place.image("full64.hda", [] { return largeFilesVolume(64); });
  const std::string fullFat = place.fatImage("full64.fat", 512 * test::kMiB, place.path("large"));
  const std::string image = place.path("remove.hda");
  const std::string fat = place.path("remove.fat");
  place.processes(work, "mdel", 2, {place.cli, "rm", image, "/Banks/*"}, {"mdel", "-i", fat, "::/*"}, [=] {
    test::copySparse(full, image);
    test::copySparse(fullFat, fat);
  });
  for (const std::string &file : {image, fat, fullFat})
    fs::remove(file);
}

void exportLarge(const Workplace &place) {
  const std::string work = "export 64 x 2 MiB";
  if (!place.isWanted(work)) return;
  writeLargeFiles(place.path("large"), 64);
  const std::string full = place.image("full64.hda", [] { return largeFilesVolume(64); });
  const std::string copies = place.path("copies");
  place.processes(work, "cp -r", 1.1, {place.cli, "export", full, "/Banks/*", "-d", copies},
                  {"cp", "-r", place.path("large"), copies + "/large"}, [=] {
                    fs::remove_all(copies);
                    fs::create_directory(copies);
                  });
  fs::remove_all(copies);
}

void exportSmall(const Workplace &place) {
  const std::string work = "export 1,000 x 4 KiB";
  if (!place.isWanted(work)) return;
  writeSmallFiles(place.path("small"), 1000);
  const std::string image = place.image("small.hda", [] { return smallFilesVolume(1000, 9); });
  const std::string copies = place.path("copies");
  place.processes(work, "cp -r", 1.5, {place.cli, "export", image, "/S0", "-R", "-d", copies},
                  {"cp", "-r", place.path("small"), copies + "/small"}, [=] {
                    fs::remove_all(copies);
                    fs::create_directory(copies);
                  });
  fs::remove_all(copies);
}

// A folder holds 112 files, so it takes nine commands, which are lines of one batch.
void importSmall(const Workplace &place) {
  const std::string work = "import 1,000 x 4 KiB";
  if (!place.isWanted(work)) return;
  const std::vector<Words> files = writeSmallFiles(place.path("small"), 1000);
  Words folders;
  smallFilesVolume(0, 9, &folders);
  std::string lines;
  for (std::size_t i = 0; i < files.size(); ++i) {
    lines += "import -t " + folders[i];
    for (const std::string &file : files[i])
      lines += " '" + file + "'";
    lines += "\n";
  }
  test::writeText(place.path("lines"), lines);
  const std::string empty = place.image("empty-small.hda", [] { return smallFilesVolume(0, 9); });
  const std::string image = place.path("import.hda");
  const std::string copies = place.path("copies");
  place.line({work, "cp -r", 1.0,
              [&] {
                return run({place.cli, "batch", image}, {.input = place.path("lines")}).cpuSeconds;
              },
              [&] {
                return run({"cp", "-r", place.path("small"), copies}).cpuSeconds;
              },
              [=] {
                test::copySparse(empty, image);
                fs::remove_all(copies);
              }});
  fs::remove_all(copies);
  fs::remove(image);
}

void list(const Workplace &place) {
  const std::string work = "ls -R, 4,480 files";
  if (!place.isWanted(work) || !place.hasMtools(work, "mdir")) return;
  writeSmallFiles(place.path("small4480"), 4480);
  const std::string image = place.image("list.hda", [] { return smallFilesVolume(4480, 40); });
  const std::string fat = place.fatImage("list.fat", 64 * test::kMiB, place.path("small4480"));
  place.processes(work, "mdir -/", 1, {place.cli, "ls", image, "-R"}, {"mdir", "-/", "-i", fat, "::/"},
                  [] {});
  fs::remove_all(place.path("small4480"));
}

void listMemory(const Workplace &place) {
  const std::string work = "memory of ls -R, 65,535 files";
  if (!place.isWanted(work)) return;
  const std::string image = place.image("full.hda", [] { return smallFilesVolume(65535, 586); });
  const Usage usage = run({place.cli, "ls", image, "-R"});
  printMemory(work, static_cast<double>(usage.residentKiB) / 1024, 40);
  fs::remove(image);
}

void startWindow(const Workplace &place) {
  const std::string work = "window from start to painted details";
  if (!place.isWanted(work)) return;
  if (!fs::exists(place.window) || !fs::exists(place.bareWindow))
    return printLeftOut(work, "bare Qt window", "built without the window");
  const std::string image = place.image("banks.hda", [] { return test::banks112Volume(); });
  const std::string ready = place.path("ready");
  place.line({work, "bare Qt window", 1.3,
              [&] {
                return run({place.window, image}, {.readyFile = ready}).cpuSeconds;
              },
              [&] { return run({place.bareWindow}, {.readyFile = ready}).cpuSeconds; }});
}

} // namespace

void compareProcesses(const Workplace &place) {
  importLarge(place);
  copyInside(place);
  removeLarge(place);
  exportLarge(place);
  exportSmall(place);
  importSmall(place);
  list(place);
  listMemory(place);
  startWindow(place);
}

} // namespace tessary::bench
