#pragma once

#include "app/CommandTools.h"
#include "tessary/EMU3Error.h"

#include <QObject>
#include <cstdint>
#include <functional>
#include <optional>
#include <string>

namespace tessary {

class NewImageAlert;

/// Makes empty images in new files, of a size or like another disk's, and opens them. Main thread only.
class NewImages final : public QObject {
  Q_OBJECT

public:
  /// `open` gets the path of an image that was made.
  NewImages(const CommandTools &tools, std::function<void(const std::string &path)> open,
            QObject *parent = nullptr);

  /// Asks for size and file first.
  void make();

private:
  /// One of the two.
  struct Wish {
    std::optional<std::uint64_t> bytes;
    std::string model; ///< path of the image that it is to be like
  };

  void confirmed(NewImageAlert *question);
  void askForFile(const Wish &wish);
  void makeAt(const std::string &path, const Wish &wish);
  void made(const std::string &path, bool isMade, const EMU3Error &error);
  static bool makeFile(const std::string &path, const Wish &wish, EMU3Error *error);

  const CommandTools tools_;
  const std::function<void(const std::string &)> open_;
};

} // namespace tessary
