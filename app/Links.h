#pragma once

/// Every link that the application shows: what it reads and where it leads. Nothing else names a web site.
namespace tessary::links {

struct Link {
  const char *text;   ///< UTF-8
  const char *target; ///< a web address, or the file name of one of this project's documents
};

inline constexpr Link maker = {"Quorvane", "https://quorvane.example"};
inline constexpr Link credit = {"by the Tessary developers", "https://tessary.example"};
inline constexpr Link imageCreation = {"Disk image creator", "https://disk-image-creator.example"};
inline constexpr Link blueScsi = {"https://bluescsi.com", "https://bluescsi.com"};
inline constexpr Link diskFormat = {"disk format", "disk-format.md"};
inline constexpr Link bankFormat = {"bank format", "bank-format.md"};

/// Where the project's documents are read when they are not on this machine; a document's file name follows.
inline constexpr char documentsSite[] = "https://tessary.example/docs/";

} // namespace tessary::links
