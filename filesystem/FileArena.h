#pragma once

#include "tessary/EMU3File.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <memory>
#include <new>
#include <utility>

namespace tessary {

/// Memory of the files that one reading of the tree makes. It is taken in slabs, of a few files at first and
/// then of many, since a piece of its own for each file costs a sixth of opening a volume. A slab is given
/// back when nothing points to any of its files: a file that is kept keeps all of its slab.
///
/// One thread makes the files; any may release them.
class FileArena final {
public:
  FileArena() = default;
  ~FileArena() { leaveSlab(); }
  FileArena(const FileArena &) = delete;
  FileArena &operator=(const FileArena &) = delete;

  [[nodiscard]] EMU3FilePtr make(EMU3FileFields &&fields) {
    if (slab_ == nullptr || !slab_->hasRoom()) {
      leaveSlab();
      slab_ = new Slab(nextSize_);
      nextSize_ = std::min(2 * nextSize_, kLargestSlab);
    }
    return std::allocate_shared<EMU3File>(Allocator<EMU3File>(slab_), std::move(fields));
  }

private:
  // Bytes; those of a file with the counts that its pointers keep.
  static constexpr std::size_t kMostOfOneFile = sizeof(EMU3File) + 64;
  static constexpr std::size_t kSmallestSlab = 4 * kMostOfOneFile;
  static constexpr std::size_t kLargestSlab = 64000;

  /// Deletes itself when the last that uses it leaves: the arena or a file.
  class Slab final {
  public:
    explicit Slab(std::size_t size)
        : size_(size), bytes_(std::make_unique_for_overwrite<std::byte[]>(size)) {}

    [[nodiscard]] bool hasRoom() const { return used_ + kMostOfOneFile <= size_; }

    void *take(std::size_t size) {
      if (size > kMostOfOneFile) throw std::bad_alloc();
      void *const taken = &bytes_[used_];
      constexpr std::size_t alignment = alignof(std::max_align_t);
      used_ += (size + alignment - 1) / alignment * alignment;
      users_.fetch_add(1, std::memory_order_relaxed);
      return taken;
    }
    void leave() {
      if (users_.fetch_sub(1, std::memory_order_acq_rel) == 1) delete this;
    }

  private:
    const std::size_t size_;
    const std::unique_ptr<std::byte[]> bytes_;
    std::size_t used_ = 0;
    std::atomic<std::size_t> users_ = 1;
  };

  /// How a shared pointer takes the memory of a file, and gives it back.
  template <typename T> class Allocator {
  public:
    using value_type = T;
    explicit Allocator(Slab *slab) : slab_(slab) {}
    template <typename Other> Allocator(const Allocator<Other> &other) : slab_(other.slab_) {}

    [[nodiscard]] T *allocate(std::size_t count) { return static_cast<T *>(slab_->take(count * sizeof(T))); }
    void deallocate(T *, std::size_t) { slab_->leave(); }
    template <typename Other> bool operator==(const Allocator<Other> &other) const {
      return slab_ == other.slab_;
    }

  private:
    template <typename Other> friend class Allocator;

    Slab *slab_;
  };

  void leaveSlab() {
    if (slab_ != nullptr) slab_->leave();
    slab_ = nullptr;
  }

  Slab *slab_ = nullptr; ///< where the next file goes
  std::size_t nextSize_ = kSmallestSlab;
};

} // namespace tessary
