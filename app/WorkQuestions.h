#pragma once

#include "app/Alert.h"

#include <QStringList>
#include <memory>

namespace tessary {

/// The buttons of both questions.
enum class WorkAnswer { finish, stop, cancel };
/// By the button's number, `Alert::chosen`; none counts as a refusal.
[[nodiscard]] WorkAnswer workAnswer(int button);

/// Whether to close a window, or to end the program, while tasks run, and what becomes of these. A name is
/// that of the image which a task works on; empty where that is not mounted any more.
std::unique_ptr<Alert> closingQuestion(const QString &image, QWidget *parent);
std::unique_ptr<Alert> quittingQuestion(const QStringList &images, QWidget *parent);

} // namespace tessary
