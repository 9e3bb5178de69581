#include "app/progress/LongWork.h"

#include "app/DisplayText.h"
#include "tessary/EMU3File.h"

#include <algorithm>

namespace tessary {
namespace {

QString figuresText(const WorkProgress::Figures &figures) {
  if (figures.all == 0) return {};
  const auto number = [&](std::uint64_t count) {
    return figures.areBytes ? QString::fromStdString(fileSizeStringFor(count)) : QString::number(count);
  };
  return QStringLiteral("%1 of %2 (%3%)")
      .arg(number(figures.done), number(figures.all), QString::number(figures.done * 100 / figures.all));
}

QString whatText(const WorkProgress::Figures &figures, bool isStopping) {
  const QString item = displayText(figures.item);
  if (isStopping)
    return item.isEmpty() ? QStringLiteral("Stopping…") : QStringLiteral("Stopping after “%1”…").arg(item);
  return item.isEmpty() ? figures.doing + QStringLiteral("…")
                        : QStringLiteral("%1 “%2”").arg(figures.doing, item);
}

} // namespace

WorkBar::Shown workWords(const WorkProgress::Figures &figures,
                         const std::optional<std::chrono::seconds> &timeLeft, bool isStopping) {
  WorkBar::Shown shown{whatText(figures, isStopping), figuresText(figures), -1, isStopping};
  if (figures.all == 0) return shown;
  shown.share = static_cast<int>(static_cast<double>(figures.done) / static_cast<double>(figures.all) *
                                 WorkBar::kWholeShare);
  if (timeLeft && !isStopping) shown.figures += QStringLiteral(", ") + timeLeftText(*timeLeft);
  return shown;
}

LongWork::LongWork(WorkBar *bar, QObject *parent) : QObject(parent), bar_(bar) {
  constexpr int millisecondsBetweenLooks = 100;
  timer_.setInterval(millisecondsBetweenLooks);
  timer_.callOnTimeout(this, [this] { look(WorkProgress::Clock::now()); });
  connect(bar, &WorkBar::stopPressed, this, &LongWork::stopShown);
}

void LongWork::add(const WorkProgressPtr &work) {
  works_.push_back(work);
  timer_.start();
}

void LongWork::showFirst(const WorkProgressPtr &work) {
  const auto at = std::find(works_.begin(), works_.end(), work);
  if (at != works_.end()) std::rotate(works_.begin(), at, at + 1);
}

void LongWork::remove(const WorkProgressPtr &work) {
  std::erase(works_, work);
  if (works_.empty()) timer_.stop();
  look(WorkProgress::Clock::now());
}

void LongWork::stop() {
  for (const WorkProgressPtr &work : works_)
    if (work->atEnd() == WorkProgress::AtEnd::stops) work->stop();
}

void LongWork::stopShown() {
  if (!shown_) return;
  shown_->stop();
  look(WorkProgress::Clock::now());
}

void LongWork::look(WorkProgress::Clock::time_point now) {
  if (!bar_) return;
  const auto running = std::find_if(works_.begin(), works_.end(), [&](const WorkProgressPtr &work) {
    return work->begun() && now - *work->begun() >= kShownFrom;
  });
  const WorkProgressPtr work = running == works_.end() ? nullptr : *running;
  if (work != shown_) timeLeft_.forget();
  shown_ = work;
  if (work)
    show(*work, now);
  else
    bar_->hide();
}

void LongWork::show(const WorkProgress &work, WorkProgress::Clock::time_point now) {
  const WorkProgress::Figures figures = work.figures();
  if (figures.part != part_) timeLeft_.forget();
  part_ = figures.part;
  timeLeft_.note(now, figures.done, figures.all);
  bar_->showWork(workWords(figures, timeLeft_.left(), work.isToStop()));
}

} // namespace tessary
