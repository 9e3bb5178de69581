#include "tests/durability/PowerCuts.h"

#include <algorithm>
#include <set>
#include <span>
#include <utility>

namespace tessary::test {
namespace {

/// What is written in one go: an entry, or a few marks.
constexpr std::size_t kCell = 32;

std::ptrdiff_t offsetOf(std::size_t block) {
  return static_cast<std::ptrdiff_t>(block * kBlockBytes);
}

bool isSame(const Bytes &one, const Bytes &other, std::size_t block) {
  const std::ptrdiff_t at = offsetOf(block);
  return std::equal(one.begin() + at, one.begin() + at + kBlockBytes, other.begin() + at);
}

void put(Bytes &image, const Bytes &from, std::size_t block) {
  std::copy_n(from.begin() + offsetOf(block), kBlockBytes, image.begin() + offsetOf(block));
}

} // namespace

PowerCuts::PowerCuts(std::vector<Moment> moments) {
  const std::size_t blocks = moments.front().image.size() / kBlockBytes;
  std::vector<std::size_t> certain(blocks, 0); // the moment whose form is on the medium
  std::vector<std::vector<std::size_t>> forms(blocks, {0});
  Bytes medium = moments.front().image;
  std::size_t reports = 0;
  for (std::size_t now = 1; now < moments.size(); ++now) {
    const Moment &moment = moments[now];
    for (std::size_t block = 0; block < blocks; ++block)
      if (!isSame(moment.image, moments[now - 1].image, block)) forms[block].push_back(now);
    if (moment.isReport) ++reports;
    if (moment.isReport && medium != moment.image && earlyReport_ == 0) earlyReport_ = reports;
    if (!moment.isBarrier && now + 1 != moments.size()) continue;

    Span &span = spans_.emplace_back();
    span.medium = medium;
    for (std::size_t block = 0; block < blocks; ++block)
      if (forms[block].size() > 1) span.blocks.push_back({block, forms[block]});
    for (const auto &[begin, end] : moment.onMedium) {
      for (std::size_t block = begin / kBlockBytes; block < end / kBlockBytes; ++block) {
        span.endsInUse = span.endsInUse || forms[block].size() > 1;
        forms[block] = {forms[block].back()};
        put(medium, moment.image, block);
      }
    }
  }
  for (Moment &moment : moments)
    images_.push_back(std::move(moment.image));
}

/// The open blocks of one page.
class PowerCuts::Page {
public:
  Page(const std::vector<Bytes> &images, std::span<const OpenBlock> blocks)
      : images_(images), blocks_(blocks) {
    std::set<std::size_t> moments;
    for (const OpenBlock &block : blocks)
      moments.insert(block.moments.begin(), block.moments.end());
    moments_.assign(moments.begin(), moments.end());
  }

  [[nodiscard]] std::size_t newest() const { return moments_.back(); }
  [[nodiscard]] std::size_t any(Random &random) const { return random.pick(moments_); }

  /// As it was at the moment, but for what was on the medium later.
  void put(Bytes &image, std::size_t moment) const {
    for (const OpenBlock &block : blocks_)
      test::put(image, images_[formAt(block, moment)], block.number);
  }
  /// While what the moment has was written over what was there before.
  void putUnfinished(Bytes &image, std::size_t moment, Random &random) const {
    for (const OpenBlock &block : blocks_) {
      const Bytes &old = images_[formAt(block, moment - 1)];
      const Bytes &now = images_[formAt(block, moment)];
      for (std::size_t cell = 0; cell < kBlockBytes; cell += kCell) {
        const auto at = offsetOf(block.number) + static_cast<std::ptrdiff_t>(cell);
        std::copy_n((random.chance(50) ? old : now).begin() + at, kCell, image.begin() + at);
      }
    }
  }

private:
  static std::size_t formAt(const OpenBlock &block, std::size_t moment) {
    const auto later = std::upper_bound(block.moments.begin(), block.moments.end(), moment);
    return later == block.moments.begin() ? block.moments.front() : *(later - 1);
  }

  const std::vector<Bytes> &images_;
  const std::span<const OpenBlock> blocks_;
  std::vector<std::size_t> moments_;
};

std::vector<PowerCuts::Page> PowerCuts::pagesOf(std::size_t number, std::size_t pageBytes) const {
  const std::vector<OpenBlock> &blocks = spans_[number].blocks;
  const std::size_t blocksOfPage = pageBytes / kBlockBytes;
  std::vector<Page> pages;
  for (auto first = blocks.begin(); first != blocks.end();) {
    const auto end = std::find_if(first, blocks.end(), [&](const OpenBlock &block) {
      return block.number / blocksOfPage != first->number / blocksOfPage;
    });
    pages.emplace_back(images_, std::span(first, end));
    first = end;
  }
  return pages;
}

std::vector<bool> PowerCuts::barriersInUse() const {
  std::vector<bool> isInUse;
  for (std::size_t barrier = 0; barrier + 1 < spans_.size(); ++barrier)
    isInUse.push_back(spans_[barrier].endsInUse);
  return isInUse;
}

std::size_t PowerCuts::extremes(std::size_t span, std::size_t pageBytes) const {
  return 2 * pagesOf(span, pageBytes).size();
}

Bytes PowerCuts::extreme(std::size_t span, std::size_t pageBytes, std::size_t number) const {
  Bytes image = spans_[span].medium;
  const std::vector<Page> pages = pagesOf(span, pageBytes);
  const bool isAlone = number % 2 == 0;
  for (std::size_t i = 0; i < pages.size(); ++i)
    if ((i == number / 2) == isAlone) pages[i].put(image, pages[i].newest());
  return image;
}

// Each page in any of its forms, or most of them there, or few.
Bytes PowerCuts::drawn(std::size_t span, std::size_t pageBytes, Random &random) const {
  Bytes image = spans_[span].medium;
  const bool isAny = random.chance(50);
  const std::size_t share = random.pick(std::vector<std::size_t>{10, 50, 90});
  for (const Page &page : pagesOf(span, pageBytes)) {
    if (!isAny && !random.chance(share)) continue;
    const std::size_t moment = isAny ? page.any(random) : page.newest();
    if (moment > 0 && random.chance(10))
      page.putUnfinished(image, moment, random);
    else
      page.put(image, moment);
  }
  return image;
}

} // namespace tessary::test
