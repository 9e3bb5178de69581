#include "cli/AddressSyntax.h"
#include "cli/Command.h"
#include "cli/EntryPaths.h"
#include "cli/JsonWriter.h"
#include "filesystem/Text.h"

#include <algorithm>
#include <string>

namespace tessary::cli {
namespace {

std::string pathOf(const VolumeFinding &finding) {
  if (!finding.folder) return {};
  return finding.file ? fileAddress(finding.folder, *finding.file) : folderAddress(finding.folder);
}

std::string placeOf(const VolumeFinding &finding) {
  return finding.place ? placeAddress({finding.place->first, finding.place->second}) : std::string();
}

nlohmann::json orNull(const std::string &text) {
  return text.empty() ? nlohmann::json(nullptr) : nlohmann::json(text);
}

void writeJson(const std::vector<VolumeFinding> &findings, std::ostream &out) {
  JsonWriter writer(out);
  writer.beginObject().member("ok", findings.empty()).key("findings").beginArray();
  for (const VolumeFinding &finding : findings) {
    writer.beginObject().member("kind", finding.kind).member("message", finding.message);
    writer.member("path", orNull(pathOf(finding))).member("place", orNull(placeOf(finding))).endObject();
  }
  writer.endArray().endObject().endLine();
}

// "Harm: /Drums/KICK (@7:3): The file …"
void printFinding(const VolumeFinding &finding, std::ostream &out) {
  std::string line = finding.isHarm() ? "Harm: " : "Oddity: ";
  const std::string path = pathOf(finding);
  const std::string place = placeOf(finding);
  if (!path.empty() && !place.empty())
    line += path + " (" + place + "): ";
  else if (!path.empty() || !place.empty())
    line += path + place + ": ";
  out << escapedForDisplay(line + finding.message) << '\n';
}

void printText(const std::vector<VolumeFinding> &findings, std::ostream &out) {
  if (findings.empty()) {
    out << "Nothing found.\n";
    return;
  }
  for (const VolumeFinding &finding : findings)
    printFinding(finding, out);
  const auto harms = std::count_if(findings.begin(), findings.end(),
                                   [](const VolumeFinding &finding) { return finding.isHarm(); });
  out << "Findings: " << findings.size() << ", of harm: " << harms << '\n';
}

class CheckCommand final : public Command {
public:
  void declare(CommandWords &) override {}

  ExitStatus run(Session &session) override {
    const std::vector<VolumeFinding> findings = session.volume->check();
    if (session.json)
      writeJson(findings, session.out());
    else
      printText(findings, session.out());
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
