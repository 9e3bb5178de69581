#include "app/WorkQueue.h"

#include <QThreadPool>
#include <memory>

namespace tessary {

QThreadPool &workQueue() {
  static const std::unique_ptr<QThreadPool> pool = [] {
    constexpr int openingsAtOnce = 64; // they wait for disks and networks, not for processors
    auto made = std::make_unique<QThreadPool>();
    made->setMaxThreadCount(openingsAtOnce);
    return made;
  }();
  return *pool;
}

} // namespace tessary
