#pragma once

/// Every link that the application shows: what it reads and where it leads. Nothing else names a web site.
namespace tessary::links {

struct Link {
  const char *text;   ///< UTF-8
  const char *target; ///< a web address, or the file name of one of this project's documents
};

inline constexpr Link maker = {"Quorvane", "about.md"};
inline constexpr Link credit = {"by the Tessary developers", "about.md"};
inline constexpr Link imageCreation = {"tessary-cli new", "user-guide.md"};
inline constexpr Link blueScsi = {"https://bluescsi.com", "https://bluescsi.com"};
inline constexpr Link diskFormat = {"disk format", "disk-format.md"};
inline constexpr Link bankFormat = {"bank format", "bank-format.md"};

} // namespace tessary::links
