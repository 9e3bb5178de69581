#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QString>
#include <QStringList>
#include <QVariantList>
#include <QVariantMap>
#include <atomic>
#include <memory>

class QThread;

namespace tessary {

class AppDelegate;

/// What the desktop asks of the program while it runs, where desktops ask by D-Bus: as com.tessary.Tessary it
/// answers to org.freedesktop.Application. So a double-click on an image opens it in a window of the program
/// that runs.
///
/// Without a bus nothing is answered. While another program has the name (another Tessary, started in a
/// terminal) that one is asked; this one follows when it ends. Nothing here waits for the bus but the
/// destructor, for a connection that is still being made. Main thread only; `delegate` must live longer.
class DesktopOpenRequests final : public QObject {
  Q_OBJECT
  Q_CLASSINFO("D-Bus Interface", "org.freedesktop.Application")

public:
  /// Connects in the background to the bus at that address, or to the session's.
  explicit DesktopOpenRequests(AppDelegate &delegate, const QString &busAddress = {});
  ~DesktopOpenRequests() override;

  /// Gives the name up: what is asked from now on is for the next program.
  void stop();

public slots: // the interface's methods
  void Activate(const QVariantMap &platformData);
  /// Opens the files, each in a window of its own.
  void Open(const QStringList &uris, const QVariantMap &platformData);
  /// There are no actions to choose from.
  void ActivateAction(const QString &, const QVariantList &, const QVariantMap &) {}

private:
  void answerOn(QDBusConnection bus);

  AppDelegate &delegate_;
  std::atomic<bool> stopped_ = false;
  std::unique_ptr<QThread> connecting_;
};

} // namespace tessary
