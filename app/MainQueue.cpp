#include "app/MainQueue.h"

#include <QCoreApplication>
#include <QMetaObject>
#include <utility>

namespace tessary {

void onMainQueue(std::function<void()> block) {
  if (QCoreApplication *application = QCoreApplication::instance())
    QMetaObject::invokeMethod(application, std::move(block), Qt::QueuedConnection);
}

} // namespace tessary
