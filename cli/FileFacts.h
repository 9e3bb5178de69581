#pragma once

#include "cli/JsonWriter.h"
#include "tessary/EMU3Filesystem.h"

#include <string>

/// How the facts of files and folders are written, in words and in JSON.
namespace tessary::cli {

/// The details as the window's columns show them: "—" for what is not known or 0.
std::string formatCell(const BankDetails &details);
std::string countCell(std::uint64_t count);

/// All members of a file, bank details as they stand.
void writeFile(JsonWriter &writer, const EMU3File &file);
/// The members of a folder itself, into an object that is open.
void writeFolderMembers(JsonWriter &writer, const EMU3Directory &directory);

} // namespace tessary::cli
