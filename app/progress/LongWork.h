#pragma once

#include "app/progress/TimeLeft.h"
#include "app/progress/WorkBar.h"
#include "app/progress/WorkProgress.h"

#include <QObject>
#include <QPointer>
#include <QTimer>
#include <chrono>
#include <memory>
#include <vector>

namespace tessary {

using WorkProgressPtr = std::shared_ptr<WorkProgress>;

/// The long work of a window that runs or waits for its turn, and the bar that shows the first of it that
/// runs, from half a second on: in the order in which it was given. Main thread only.
class LongWork final : public QObject {
  Q_OBJECT

public:
  static constexpr std::chrono::milliseconds kShownFrom{500};

  explicit LongWork(WorkBar *bar, QObject *parent = nullptr);

  void add(const WorkProgressPtr &work);
  /// Of what was added: whenever it runs, the bar shows this.
  void showFirst(const WorkProgressPtr &work);
  /// It has ended.
  void remove(const WorkProgressPtr &work);
  bool isEmpty() const { return works_.empty(); }

  /// Asks all of it to stop, but what is to finish.
  void stop();
  /// Shows how far it is; by itself ten times a second.
  void look(WorkProgress::Clock::time_point now);

private:
  void stopShown();
  void show(const WorkProgress &work, WorkProgress::Clock::time_point now);

  QPointer<WorkBar> bar_;
  QTimer timer_;
  std::vector<WorkProgressPtr> works_; ///< in the order in which it is shown
  WorkProgressPtr shown_;              ///< null while the bar is hidden
  TimeLeft timeLeft_;                  ///< of this part of the work that is shown
  std::size_t part_ = 0;
};

/// What the bar says of work that is so far; without the time left where that is not known.
[[nodiscard]] WorkBar::Shown workWords(const WorkProgress::Figures &figures,
                                       const std::optional<std::chrono::seconds> &timeLeft, bool isStopping);

} // namespace tessary
