#pragma once

#include "app/Alert.h"

#include <QStringList>
#include <memory>

namespace tessary {

/// Whether to close a window, or to end the program, while tasks run. The first button agrees. A name is that
/// of the image which a task works on; empty where that is not mounted any more.
std::unique_ptr<Alert> closingQuestion(const QString &image, QWidget *parent);
std::unique_ptr<Alert> quittingQuestion(const QStringList &images, QWidget *parent);

} // namespace tessary
