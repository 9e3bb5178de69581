#pragma once

#include "tests/durability/BarrierRecorder.h"
#include "tests/support/ImageBuilder.h"
#include "tests/writing/Random.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tessary::test {

/// The images that a power cut may leave. What no barrier has brought to the medium may be there or not, page
/// by page, in each form that the page had since it last was: also in one that it had while it was written,
/// since the host may write a page at any time.
class PowerCuts {
public:
  explicit PowerCuts(std::vector<Moment> moments);

  /// A span ends at a barrier, the last one at the end. There is one more than there are barriers.
  [[nodiscard]] std::size_t spans() const { return spans_.size(); }
  /// Whether more than one image may be left in the span.
  [[nodiscard]] bool isOpen(std::size_t span) const { return !spans_[span].blocks.empty(); }
  /// For each barrier, whether it brings something to the medium that may not be there before. To leave out
  /// one that does not makes no difference.
  [[nodiscard]] std::vector<bool> barriersInUse() const;
  /// An image that a cut in the span may leave, where the medium takes pages of so many bytes: 512 or a
  /// multiple.
  [[nodiscard]] Bytes drawn(std::size_t span, std::size_t pageBytes, Random &random) const;
  /// How many images there are in which one page differs from all others: it alone has its newest form, or it
  /// alone lacks it. Two for each page that may have several forms.
  [[nodiscard]] std::size_t extremes(std::size_t span, std::size_t pageBytes) const;
  [[nodiscard]] Bytes extreme(std::size_t span, std::size_t pageBytes, std::size_t number) const;
  /// What is on the medium for certain when the span begins.
  [[nodiscard]] const Bytes &medium(std::size_t span) const { return spans_[span].medium; }
  /// What the program has written, in the end.
  [[nodiscard]] const Bytes &image() const { return images_.back(); }
  /// The first report, from 1, at which something of the image was not on the medium; 0 for none.
  [[nodiscard]] std::size_t earlyReport() const { return earlyReport_; }

private:
  /// A block that may be on the medium in several forms: those of these moments, in order.
  struct OpenBlock {
    std::size_t number = 0;
    std::vector<std::size_t> moments;
  };
  struct Span {
    Bytes medium;
    std::vector<OpenBlock> blocks;
    bool endsInUse = false;
  };
  class Page;
  [[nodiscard]] std::vector<Page> pagesOf(std::size_t span, std::size_t pageBytes) const;

  std::vector<Bytes> images_; ///< by moment
  std::vector<Span> spans_;
  std::size_t earlyReport_ = 0;
};

} // namespace tessary::test
