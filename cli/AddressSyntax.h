#pragma once

#include "tessary/EntryPlace.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace tessary::cli {

/// An address taken apart: "/Drums/KICK", "@7:3", "@7:3/KICK".
struct Address {
  std::string word;                ///< as given
  std::optional<EntryPlace> start; ///< where the path begins; the root folder when absent
  std::vector<std::string> parts;  ///< between the slashes, escapes still there; never empty ones
  std::size_t lastPartAt = 0;      ///< offset of the last part in `word`
  bool endsInSlash = false;        ///< "/" too
};

/// None when the word is no address.
std::optional<Address> parseAddress(const std::string &word);

/// A name with the characters that mean something in an address escaped.
std::string escapedName(const std::string &name);
/// The name that a part of an address stands for.
std::string unescapedName(std::string_view part);

/// "@7:3"
std::string placeAddress(EntryPlace place);
/// The path of an entry in the folder with the address `parent`.
std::string pathAddress(const std::string &parent, const std::string &name);

} // namespace tessary::cli
