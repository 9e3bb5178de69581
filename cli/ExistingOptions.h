#pragma once

#include "cli/CommandWords.h"
#include "tessary/ItemsOperation.h"

namespace tessary::cli {

/// What a command that stores files does where one of the name is there: `--replace` or `--skip-existing`.
class ExistingOptions final {
public:
  void declare(CommandWords &words);
  /// Throws WrongWords when both are given.
  void check() const;
  void apply(ItemsOperation &operation) const;

private:
  const CommandWords::Word *replace_ = nullptr;
  const CommandWords::Word *skip_ = nullptr;
};

} // namespace tessary::cli
