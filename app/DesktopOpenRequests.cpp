#include "app/DesktopOpenRequests.h"

#include "app/AppDelegate.h"
#include "app/FileURLs.h"
#include "app/MainQueue.h"

#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QPointer>
#include <QThread>
#include <QUrl>

namespace tessary {
namespace {

constexpr QLatin1String busName("com.tessary.Tessary");
constexpr QLatin1String objectPath("/com/tessary/Tessary");
constexpr QLatin1String connectionName("DesktopOpenRequests");

QDBusConnection connectTo(const QString &address) {
  return address.isEmpty() ? QDBusConnection::connectToBus(QDBusConnection::SessionBus, connectionName)
                           : QDBusConnection::connectToBus(address, connectionName);
}

/// Lets the window come to the front where programs need the leave of what was clicked.
void useActivationToken(const QVariantMap &platformData) {
  const QByteArray token = platformData.value(QStringLiteral("activation-token")).toString().toUtf8();
  if (!token.isEmpty()) qputenv("XDG_ACTIVATION_TOKEN", token);
}

/// Does not wait for the answer.
void giveNameUp(const QDBusConnection &bus) {
  QDBusMessage release = QDBusMessage::createMethodCall(
      QStringLiteral("org.freedesktop.DBus"), QStringLiteral("/org/freedesktop/DBus"),
      QStringLiteral("org.freedesktop.DBus"), QStringLiteral("ReleaseName"));
  release << QString(busName);
  bus.send(release);
}

} // namespace

DesktopOpenRequests::DesktopOpenRequests(AppDelegate &delegate, const QString &busAddress)
    : delegate_(delegate),
      connecting_(QThread::create([this, busAddress] { answerOn(connectTo(busAddress)); })) {
  connecting_->start();
}

DesktopOpenRequests::~DesktopOpenRequests() {
  connecting_->wait();
  QDBusConnection::disconnectFromBus(connectionName);
}

/// On the connecting thread, since each step waits for the bus. The calls arrive on this object's own thread.
void DesktopOpenRequests::answerOn(QDBusConnection bus) {
  if (!bus.isConnected() || !bus.registerObject(objectPath, this, QDBusConnection::ExportAllSlots)) return;
  if (stopped_) return;
  bus.interface()->registerService(busName, QDBusConnectionInterface::QueueService);
  if (stopped_) giveNameUp(bus);
}

void DesktopOpenRequests::stop() {
  stopped_ = true;
  // Until then even to look for the connection would wait for it.
  if (connecting_->isFinished()) giveNameUp(QDBusConnection(connectionName));
}

void DesktopOpenRequests::Activate(const QVariantMap &platformData) {
  useActivationToken(platformData);
  delegate_.activate();
}

void DesktopOpenRequests::Open(const QStringList &uris, const QVariantMap &platformData) {
  Activate(platformData);
  for (const QString &uri : uris) {
    const std::string path = filePath(QUrl::fromEncoded(uri.toUtf8()));
    if (!path.empty())
      delegate_.application(path);
    else // later, for an alert would hold back the answer
      onMainQueue([delegate = QPointer(&delegate_), uri] {
        if (delegate) delegate->refuse(uri);
      });
  }
}

} // namespace tessary
