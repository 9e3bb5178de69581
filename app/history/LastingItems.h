#pragma once

#include "tessary/EMU3Directory.h"
#include "tessary/EMU3File.h"
#include "tessary/EntryPlace.h"
#include "tessary/Mutex.h"

#include <cstdint>
#include <map>
#include <memory>
#include <unordered_map>
#include <utility>

namespace tessary {

/// A file or a folder of the image as the steps of the history mean it, whatever object it is: one that was
/// deleted and brought back, or moved, is another object then. Any thread.
template <typename Pointer> class Lasting final {
public:
  explicit Lasting(Pointer object) : object_(std::move(object)) {}

  [[nodiscard]] Pointer object() const {
    const MutexLock lock(mutex_);
    return object_;
  }

private:
  friend class LastingItems;
  void set(Pointer object) {
    const MutexLock lock(mutex_);
    object_ = std::move(object);
  }

  /// `missed`: not found when the image was last mounted anew. `deleted`: by a step or a command.
  enum class State : std::uint8_t { there, missed, deleted };

  mutable Mutex mutex_;
  Pointer object_ TESSARY_GUARDED_BY(mutex_);
  State state_ = State::there; ///< for `LastingItems` alone, under its lock
};
using LastingFile = std::shared_ptr<Lasting<EMU3FilePtr>>;
using LastingFolder = std::shared_ptr<Lasting<EMU3DirectoryPtr>>;

/// Those that steps of the history mean. Any thread.
class LastingItems final {
public:
  // The same `Lasting` for the same object, as long as a step holds it.
  [[nodiscard]] LastingFile of(const EMU3FilePtr &file);
  [[nodiscard]] LastingFolder of(const EMU3DirectoryPtr &folder);

  // The file, or folder, is another object from now on. Nothing where no step means it.
  void became(const EMU3FilePtr &before, const EMU3FilePtr &now);
  void became(const EMU3DirectoryPtr &before, const EMU3DirectoryPtr &now);

  // The file, or the folder without what was in it, is deleted until it becomes another object: what comes to
  // its place is not it. Nothing where no step means it.
  void deleted(const EMU3FilePtr &file);
  void deleted(const EMU3DirectoryPtr &folder);

  /// The image was mounted anew, with this root: each that is not deleted is looked for at the place of its
  /// entry.
  void findIn(const EMU3DirectoryPtr &root);

private:
  template <typename Pointer>
  using Known = std::unordered_map<const typename Pointer::element_type *, std::weak_ptr<Lasting<Pointer>>>;

  template <typename Pointer>
  static std::shared_ptr<Lasting<Pointer>> lastingOf(const Pointer &object, Known<Pointer> *known);
  template <typename Pointer>
  static void change(const Pointer &before, const Pointer &now, Known<Pointer> *known);
  template <typename Pointer> static void markDeleted(const Pointer &object, const Known<Pointer> &known);
  template <typename Pointer>
  static void findAgain(const std::map<EntryPlace, Pointer> &there, Known<Pointer> *known);

  Mutex mutex_;
  // By the object that it is now. An entry holds its object, so that no other gets its address.
  Known<EMU3FilePtr> files_ TESSARY_GUARDED_BY(mutex_);
  Known<EMU3DirectoryPtr> folders_ TESSARY_GUARDED_BY(mutex_);
};

} // namespace tessary
