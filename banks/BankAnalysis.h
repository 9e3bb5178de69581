#pragma once

#include "filesystem/FileContents.h"
#include "tessary/EMU3File.h"

#include <string>

/// What a bank's header and table of contents say about it. Functions over a file's contents.
namespace tessary {

/// Recognises a bank and reads its format, name and counts. `details` begins as what was known before, since
/// what a damaged bank does not tell stays as it was. False, with nothing changed, for contents of fewer than
/// 12 bytes. `fileName` stands in for a bank's own name; for the file called "Acid" each step is logged.
bool analyseBank(const FileContents &contents, const std::string &fileName, BankDetails *details);

} // namespace tessary
