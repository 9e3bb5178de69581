#include "tests/compare/RandomCommands.h"

#include "tests/compare/KnownEntries.h"
#include "tests/writing/RandomVolumes.h"

#include <array>
#include <numeric>
#include <utility>

namespace tessary::compare {
namespace {

using test::Random;

struct ImportedName {
  const char *onHost;
  const char *inVolume; ///< as the tree should hold it
};

constexpr std::array kImportedNames{
    ImportedName{"kick.e4b", "kick"},
    ImportedName{"Snare 01.E4B", "Snare 01"},
    ImportedName{"no extension", "no extension"},
    ImportedName{"two.dots.e4b", "two.dots"},
    ImportedName{"a name far longer than an entry.e4b", "a name far long"},
    ImportedName{"Gr\u00fc\u00dfe.e4b", "Gr\u00fc\u00dfe"},
    ImportedName{"\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac.e4b", "\u20ac\u20ac\u20ac\u20ac\u20ac\u20ac"},
    ImportedName{"14 and a pair\U0001F941\U0001F941.e4b", "14 and a pair\U0001F941"},
    ImportedName{"it's *odd*.e4b", "it's *odd*"},
    ImportedName{"   .e4b", "   "},
    ImportedName{"not \xFF text.e4b", ""},
};

// Writes commands one after another and keeps what should come of them.
class CommandWriter {
public:
  CommandWriter(Random &random, const test::ImageBuilder &image, MountRules rules)
      : random_(random), known_(image), rules_(rules) {}

  Command next(bool mayCat) {
    struct Choice {
      std::size_t weight;
      Command (CommandWriter::*write)();
    };
    static const std::vector<Choice> choices{
        {16, &CommandWriter::import},   {9, &CommandWriter::ls},      {9, &CommandWriter::cp},
        {9, &CommandWriter::mv},        {8, &CommandWriter::rm},      {8, &CommandWriter::mkdir},
        {7, &CommandWriter::rename},    {6, &CommandWriter::info},    {6, &CommandWriter::stat},
        {6, &CommandWriter::exporting}, {5, &CommandWriter::rmdir},   {5, &CommandWriter::recover},
        {4, &CommandWriter::wav},       {3, &CommandWriter::samples}, {3, &CommandWriter::check},
    };
    static const std::size_t allWeights =
        std::accumulate(choices.begin(), choices.end(), std::size_t{0},
                        [](std::size_t sum, const Choice &choice) { return sum + choice.weight; });
    if (mayCat && random_.chance(8)) return {"cat", file()};
    std::size_t number = random_.below(allWeights);
    for (const Choice &choice : choices) {
      if (number < choice.weight) return (this->*choice.write)();
      number -= choice.weight;
    }
    return info();
  }

private:
  // ---- Addresses ------------------------------------------------------------------------------------------

  std::string wordFor(const KnownEntry &entry) {
    return random_.chance(25) ? entry.placeOrPath() : entry.path;
  }

  // The first ones more often: those that the image held are surer to be there than those that commands made.
  const KnownEntry &anyOf(const std::vector<KnownEntry> &entries) {
    return entries[random_.chance(40) ? random_.below(entries.size() / 2 + 1)
                                      : random_.below(entries.size())];
  }

  // May lead to a file, a folder or nothing.
  std::string guessedPlace() {
    const std::uint64_t block = known_.folderBlocks.empty() ? 6 : random_.pick(known_.folderBlocks);
    return "@" + std::to_string(block) + ":" + std::to_string(random_.below(16));
  }

  std::string wrongAddress() {
    return random_.pick(std::vector<std::string>{"/missing", "/folder 0/missing", "/file 0/", "@70000:3",
                                                 "@2:", "no slash", "/\\"});
  }

  std::string file() {
    const std::size_t kind = random_.below(100);
    if (kind < 3) return wrongAddress();
    if (kind < 6) return folder();
    if (kind < 11 || known_.files.empty()) return guessedPlace();
    return wordFor(anyOf(known_.files));
  }

  std::string folder() {
    const std::size_t kind = random_.below(100);
    if (kind < 20) return "/";
    if (kind < 23) return wrongAddress();
    if (kind < 25) return guessedPlace();
    if (kind < 28 && !known_.files.empty()) return wordFor(anyOf(known_.files));
    return wordFor(anyOf(known_.folders));
  }

  std::string pattern() {
    static const std::vector<std::string> names{"*", "?*", "f*", "file ?", "*1", "k*", "*\\**", "nothing*"};
    const std::string in = folder();
    return below(in, random_.pick(names));
  }

  void addFiles(Command &command) {
    if (random_.chance(12)) return command.push_back(pattern());
    for (std::size_t count = random_.chance(75) ? 1 : random_.between(2, 4); count > 0; --count)
      command.push_back(file());
  }

  std::string newName() {
    return random_.chance(10) ? test::randomBadName(random_, rules_) : test::randomName(random_, rules_);
  }

  // ---- What should come of the commands -------------------------------------------------------------------

  static std::string nameOfPath(const std::string &path) {
    std::size_t slash = path.rfind('/');
    while (slash != std::string::npos && slash > 0 && path[slash - 1] == '\\')
      slash = path.rfind('/', slash - 1);
    return slash == std::string::npos ? "" : path.substr(slash + 1);
  }

  void copied(const std::vector<std::string> &words, const std::string &to, bool isMove) {
    const std::vector<KnownEntry> before = known_.files;
    for (const KnownEntry &file : before) {
      for (const std::string &word : words) {
        if (word != file.path && word != file.placeOrPath()) continue;
        if (isMove) known_.forgetFile(file.path);
        known_.files.push_back({below(to, nameOfPath(file.path))});
      }
    }
  }

  // ---- Commands -------------------------------------------------------------------------------------------

  Command info() { return {"info"}; }
  Command stat() { return {"stat", file()}; }
  Command samples() { return {"samples", file()}; }
  Command check() { return {"check"}; }

  Command ls() {
    Command command{"ls"};
    if (random_.chance(60)) command.push_back(random_.chance(40) ? "/" : folder());
    if (random_.chance(50)) command.emplace_back("-R");
    return command;
  }

  Command exporting() {
    Command command{"export"};
    const std::size_t kind = random_.below(10);
    if (kind < 2) return {"export", file(), "-o", std::string(kExportFolder) + "/one.e4b"};
    if (kind < 4) return {"export", folder(), "-R", "-d", kExportFolder};
    addFiles(command);
    if (kind < 8) command.insert(command.end(), {"-d", kExportFolder});
    return command;
  }

  Command wav() {
    Command command{"wav", file()};
    if (random_.chance(40)) command.push_back(std::to_string(random_.below(3)));
    if (random_.chance(20)) {
      command.insert(command.end(), {"-o", std::string(kExportFolder) + "/one.wav"});
    } else if (random_.chance(70)) {
      command.insert(command.end(), {"-d", kExportFolder});
    }
    return command;
  }

  Command import() {
    Command command{"import"};
    const std::string to = folder();
    for (std::size_t count = random_.chance(70) ? 1 : random_.between(2, 4); count > 0; --count) {
      const ImportedName &name = kImportedNames[random_.below(kImportedNames.size())];
      command.push_back(std::string(kImportFolder) + "/" + name.onHost);
      if (*name.inVolume != '\0') known_.files.push_back({pathIn(to, name.inVolume)});
    }
    if (random_.chance(3)) command.push_back(random_.chance(50) ? "in/missing" : kImportFolder);
    command.insert(command.end(), {"-t", to});
    return command;
  }

  Command transfer(const char *name) {
    Command command{name};
    addFiles(command);
    const std::vector<std::string> words(command.begin() + 1, command.end());
    command.push_back(folder());
    copied(words, command.back(), name == std::string("mv"));
    return command;
  }
  Command cp() { return transfer("cp"); }
  Command mv() { return transfer("mv"); }

  Command rm() {
    Command command{"rm"};
    if (random_.chance(6))
      command.push_back(pattern());
    else
      command.push_back(file());
    if (random_.chance(15)) command.push_back(file());
    for (std::size_t i = 1; i < command.size(); ++i)
      known_.forgetFile(command[i]);
    return command;
  }

  Command rename() {
    const bool isWrong = known_.files.empty() || random_.chance(4);
    const std::string old = isWrong ? wrongAddress() : wordFor(anyOf(known_.files));
    const std::string name = newName();
    for (KnownEntry &file : known_.files) {
      if (file.path != old) continue;
      file.path = pathIn(old.substr(0, old.size() - nameOfPath(old).size() - 1), name);
      break;
    }
    return {"rename", old, name};
  }

  Command mkdir() {
    const std::string in = folder();
    const std::string name = newName();
    known_.folders.push_back({pathIn(in, name)});
    return {"mkdir", known_.folders.back().path};
  }

  Command rmdir() {
    const std::size_t count = known_.folders.size();
    const bool isKnown = count > 1 && random_.chance(85); // the root cannot be deleted
    Command command{"rmdir", isKnown ? wordFor(known_.folders[random_.between(1, count - 1)]) : folder()};
    if (random_.chance(40)) command.emplace_back("-R");
    known_.forgetFolder(command[1]);
    return command;
  }

  std::uint64_t blockToRecover() {
    const std::size_t kind = random_.below(100);
    if (kind < 75 && !known_.unlistedBlocks.empty()) return random_.pick(known_.unlistedBlocks);
    if (kind < 90 && !known_.folderBlocks.empty()) return random_.pick(known_.folderBlocks);
    return random_.below(40);
  }

  Command recover() {
    if (random_.chance(25)) return {"recover"};
    const std::uint64_t block = blockToRecover();
    Command command{"recover", "--block", std::to_string(block), "--to", folder()};
    std::string name = "Recovered " + std::to_string(block);
    if (random_.chance(60)) command.insert(command.end(), {"--name", name = newName()});
    if (random_.chance(25))
      command.emplace_back("--dry-run");
    else
      known_.folders.push_back({pathIn(command[4], name)});
    return command;
  }

  Random &random_;
  KnownEntries known_;
  MountRules rules_;
};

} // namespace

std::vector<std::string> hostFileNames() {
  std::vector<std::string> names;
  names.reserve(kImportedNames.size());
  for (const ImportedName &name : kImportedNames)
    names.push_back(std::string(kImportFolder) + "/" + name.onHost);
  return names;
}

std::vector<Command> randomCommands(Random &random, const test::ImageBuilder &image, MountRules rules,
                                    bool isBatch, std::size_t count) {
  CommandWriter writer(random, image, rules);
  std::vector<Command> commands;
  while (commands.size() < count)
    commands.push_back(writer.next(!isBatch));
  return commands;
}

} // namespace tessary::compare
