#include "cli/AddressSyntax.h"
#include "cli/Addresses.h"
#include "cli/Command.h"
#include "cli/JsonWriter.h"
#include "tessary/Text.h"

#include <algorithm>
#include <string>
#include <unordered_map>

namespace tessary::cli {
namespace {

// Addresses of what the findings are about.
class FindingAddresses final {
public:
  explicit FindingAddresses(const EMU3Filesystem &volume) {
    for (FolderItem &item : foldersFrom({volume.rootDirectory(), "/"}, Beside::anyEntry))
      folders_.emplace(item.directory.get(), std::move(item.address));
  }

  // Empty where the finding is about no folder of the tree.
  std::string of(const VolumeFinding &finding) const {
    const auto folder = folders_.find(finding.folder.get());
    if (folder == folders_.end()) return {};
    if (!finding.file) return folder->second;
    for (const FileItem &item : filesIn(finding.folder, folder->second)) {
      if (item.file == finding.file) return item.address;
    }
    return {};
  }

private:
  std::unordered_map<const EMU3Directory *, std::string> folders_;
};

std::string placeOf(const VolumeFinding &finding) {
  return finding.place ? placeAddress(*finding.place) : std::string();
}

nlohmann::json orNull(const std::string &text) {
  return text.empty() ? nlohmann::json(nullptr) : nlohmann::json(text);
}

void writeJson(const std::vector<VolumeFinding> &findings, const FindingAddresses &addresses,
               std::ostream &out) {
  JsonWriter writer(out);
  writer.beginObject().member("ok", findings.empty()).key("findings").beginArray();
  for (const VolumeFinding &finding : findings) {
    writer.beginObject().member("kind", finding.kind).member("message", finding.message);
    writer.member("path", orNull(addresses.of(finding)))
        .member("place", orNull(placeOf(finding)))
        .endObject();
  }
  writer.endArray().endObject().endLine();
}

// "Harm: /Drums/KICK (@7:3): The file …"
void printFinding(const VolumeFinding &finding, const std::string &path, std::ostream &out) {
  std::string line = finding.isHarm() ? "Harm: " : "Oddity: ";
  const std::string place = placeOf(finding);
  if (!path.empty() && !place.empty() && path != place)
    line += path + " (" + place + "): ";
  else if (!path.empty() || !place.empty())
    line += (path.empty() ? place : path) + ": ";
  out << escapedForDisplay(line + finding.message) << '\n';
}

void printText(const std::vector<VolumeFinding> &findings, const FindingAddresses &addresses,
               std::ostream &out) {
  if (findings.empty()) {
    out << "Nothing found.\n";
    return;
  }
  for (const VolumeFinding &finding : findings)
    printFinding(finding, addresses.of(finding), out);
  const auto harms = std::count_if(findings.begin(), findings.end(),
                                   [](const VolumeFinding &finding) { return finding.isHarm(); });
  out << "Findings: " << std::to_string(findings.size()) << ", of harm: " << std::to_string(harms) << '\n';
}

class CheckCommand final : public Command {
public:
  void declare(CommandWords &) override {}

  ExitStatus run(Session &session) override {
    const std::vector<VolumeFinding> findings = session.volume->check();
    const FindingAddresses addresses(*session.volume);
    if (session.json)
      writeJson(findings, addresses, session.out());
    else
      printText(findings, addresses, session.out());
    return findings.empty() ? ExitStatus::done : ExitStatus::failed;
  }
};

} // namespace

extern const CommandEntry kCheckCommand{
    "check",
    "",
    "Look the volume over",
    "Changes nothing. Finds files that share blocks or reach past the image, blocks that are not marked and\n"
    "marks that nothing owns, a table too short for the volume, folders that share a block or that no entry\n"
    "leads to, names that are no text, sizes and header fields out of range. Harm means that sounds are "
    "lost\n"
    "or that the next change, here or in a sampler, can destroy some; the rest are oddities.\n"
    "Exit status 0 when nothing was found, 1 otherwise.\n",
    {},
    makeCommand<CheckCommand>,
};

} // namespace tessary::cli
