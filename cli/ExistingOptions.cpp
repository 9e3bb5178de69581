#include "cli/ExistingOptions.h"

#include "cli/CliError.h"

namespace tessary::cli {

void ExistingOptions::declare(CommandWords &words) {
  replace_ = words.flag("--replace", "Delete the files of a new file's name that were there before, once it\n"
                                     "is stored");
  skip_ = words.flag("--skip-existing", "Leave out a file whose name is there");
}

void ExistingOptions::check() const {
  if (CommandWords::isGiven(replace_) && CommandWords::isGiven(skip_))
    throw WrongWords{"--replace and --skip-existing exclude each other"};
}

void ExistingOptions::apply(ItemsOperation &operation) const {
  if (CommandWords::isGiven(replace_)) operation.setExisting(ExistingFile::isReplaced);
  if (CommandWords::isGiven(skip_)) operation.setExisting(ExistingFile::leavesOut);
}

} // namespace tessary::cli
