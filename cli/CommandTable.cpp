#include "cli/Command.h"

#include <algorithm>
#include <array>

namespace tessary::cli {

// Each defined beside its command.
extern const CommandEntry kInfoCommand;
extern const CommandEntry kListCommand;
extern const CommandEntry kStatCommand;
extern const CommandEntry kCatCommand;
extern const CommandEntry kExportCommand;
extern const CommandEntry kContentsCommand;
extern const CommandEntry kSamplesCommand;
extern const CommandEntry kWavCommand;
extern const CommandEntry kImportCommand;
extern const CommandEntry kCopyCommand;
extern const CommandEntry kMoveCommand;
extern const CommandEntry kRemoveCommand;
extern const CommandEntry kRenameCommand;
extern const CommandEntry kMakeFolderCommand;
extern const CommandEntry kRemoveFolderCommand;
extern const CommandEntry kFindCommand;
extern const CommandEntry kNewCommand;
extern const CommandEntry kCheckCommand;
extern const CommandEntry kRecoverCommand;
extern const CommandEntry kBackupCommand;
extern const CommandEntry kBatchCommand;

namespace {

constexpr std::array kCommands{
    &kInfoCommand,     &kListCommand,    &kStatCommand,   &kCatCommand,        &kExportCommand,
    &kContentsCommand, &kSamplesCommand, &kWavCommand,    &kImportCommand,     &kCopyCommand,
    &kMoveCommand,     &kRemoveCommand,  &kRenameCommand, &kMakeFolderCommand, &kRemoveFolderCommand,
    &kFindCommand,     &kNewCommand,     &kBackupCommand, &kCheckCommand,      &kRecoverCommand,
    &kBatchCommand,
};

} // namespace

std::span<const CommandEntry *const> commandTable() {
  return kCommands;
}

const CommandEntry *findCommand(std::string_view name) {
  const auto found = std::find_if(kCommands.begin(), kCommands.end(),
                                  [&](const CommandEntry *entry) { return entry->name == name; });
  return found == kCommands.end() ? nullptr : *found;
}

} // namespace tessary::cli
