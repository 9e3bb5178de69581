#include "app/DesktopOpenRequests.h"

#include "app/AppDelegate.h"
#include "app/StatusBar.h"
#include "tests/app/WindowTest.h"
#include "tests/support/HostFiles.h"

#include <QApplication>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>
#include <QUrl>
#include <QXmlStreamReader>
#include <cstring>
#include <poll.h>
#include <stdexcept>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace tessary::test {
namespace {

const QString kName = QStringLiteral("com.tessary.Tessary");

/// A session bus of the test's own.
class PrivateBus {
public:
  explicit PrivateBus(const TemporaryFolder &folder) {
    daemon_.start(
        QStringLiteral("dbus-daemon"),
        {QStringLiteral("--session"), QStringLiteral("--nofork"), QStringLiteral("--nopidfile"),
         QStringLiteral("--print-address=1"),
         QStringLiteral("--address=unix:path=%1").arg(QFile::decodeName(folder.path("bus").c_str()))});
    if (daemon_.waitForReadyRead()) address_ = QString::fromLatin1(daemon_.readLine()).trimmed();
  }
  ~PrivateBus() {
    daemon_.kill();
    daemon_.waitForFinished();
  }
  static bool isInstalled() {
    return !QStandardPaths::findExecutable(QStringLiteral("dbus-daemon")).isEmpty();
  }
  const QString &address() const { return address_; }

private:
  QProcess daemon_;
  QString address_;
};

/// Takes connections and never says a word.
class MuteBus {
public:
  explicit MuteBus(const std::string &path) : listener_(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0)) {
    sockaddr_un address{};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path) throw std::runtime_error("the path is too long for a socket");
    std::memcpy(address.sun_path, path.c_str(), path.size());
    if (::bind(listener_, reinterpret_cast<const sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(listener_, 1) != 0)
      throw std::runtime_error("the socket does not listen");
  }
  ~MuteBus() { hangUp(); }
  bool isCalled() const {
    pollfd waiting{listener_, POLLIN, 0};
    return ::poll(&waiting, 1, 0) == 1;
  }
  void hangUp() {
    if (listener_ >= 0) ::close(std::exchange(listener_, -1));
  }

private:
  int listener_;
};

/// The running application, and a desktop that talks to it.
class DesktopOpen : public testing::Test {
protected:
  void SetUp() override {
    if (!PrivateBus::isInstalled()) GTEST_SKIP() << "needs dbus-daemon";
    bus_ = std::make_unique<PrivateBus>(folder_);
    ASSERT_FALSE(bus_->address().isEmpty());
    delegate_ = std::make_unique<AppDelegate>(std::vector<std::string>{"tessary"});
    delegate_->applicationDidFinishLaunching();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(window()));
    ASSERT_TRUE(desktop().isConnected());
  }
  void TearDown() override {
    EXPECT_TRUE(waitUntilIdle());
    requests_.reset();
    QDBusConnection::disconnectFromBus(QStringLiteral("desktop"));
  }

  QDBusConnection desktop() const {
    return QDBusConnection::connectToBus(bus_->address(), QStringLiteral("desktop"));
  }
  bool nameIsTaken() const { return desktop().interface()->isServiceRegistered(kName); }
  void answerTheDesktop() {
    requests_ = std::make_unique<DesktopOpenRequests>(*delegate_, bus_->address());
    ASSERT_TRUE(QTest::qWaitFor([this] { return nameIsTaken(); }));
  }

  /// Calls a method and waits for its answer. An empty string is success.
  QString call(const QString &method, const QVariantList &arguments) const {
    QDBusMessage message = QDBusMessage::createMethodCall(
        kName, QStringLiteral("/com/tessary/Tessary"), QStringLiteral("org.freedesktop.Application"), method);
    message.setArguments(arguments);
    const QDBusPendingCall answer = desktop().asyncCall(message, 10000);
    EXPECT_TRUE(QTest::qWaitFor([&] { return answer.isFinished(); }, 15000));
    return answer.isError() ? answer.error().message() : QString();
  }
  QString open(const QStringList &uris, const QVariantMap &platformData = {}) const {
    return call(QStringLiteral("Open"), {uris, platformData});
  }

  std::string image(const std::string &name = "disk.hda") const {
    ImageBuilder image;
    image.root().addFolder("Drums").addFile("KICK");
    image.writeTo(folder_.path(name));
    return folder_.path(name);
  }
  static QString uriOf(const std::string &path) {
    return QString::fromLatin1(QUrl::fromLocalFile(QFile::decodeName(path.c_str())).toEncoded());
  }

  MainWindow *window() const { return delegate_->mainWC()->window(); }
  /// Of all windows, in the order in which they were opened.
  QStringList titles() const {
    QStringList titles;
    for (const MainWindowController *each : delegate_->windows().windows())
      titles += each->window()->windowTitle();
    return titles;
  }
  QString title() const { return window()->windowHandle()->title(); }
  QString status() const { return delegate_->mainWC()->statusLabel()->text(); }

  TemporaryFolder folder_;
  std::unique_ptr<PrivateBus> bus_;
  std::unique_ptr<AppDelegate> delegate_;
  std::unique_ptr<DesktopOpenRequests> requests_;
};

TEST_F(DesktopOpen, OpensTheDocumentInTheEmptyWindowAndTheNextInANewOne) {
  answerTheDesktop();
  EXPECT_EQ(open({uriOf(image())}), QString());
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(title(), QStringLiteral("Tessary — disk.hda"));
  EXPECT_EQ(status(), QStringLiteral("Drums — 1 file(s)"));
  EXPECT_EQ(open({uriOf(image("odd #1 %41 é.hda"))}), QString());
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(titles(), (QStringList{"Tessary — disk.hda", "Tessary — odd #1 %41 é.hda"}));
  EXPECT_EQ(title(), QStringLiteral("Tessary — odd #1 %41 é.hda")) << "it has the keyboard";
}

TEST_F(DesktopOpen, DocumentThatAWindowShowsBringsThatOneToTheFront) {
  answerTheDesktop();
  const std::string first = image("first.hda");
  for (const std::string &path : {first, image("second.hda"), first}) {
    EXPECT_EQ(open({uriOf(path)}), QString());
    ASSERT_TRUE(waitUntilIdle());
  }
  EXPECT_EQ(titles(), (QStringList{"Tessary — first.hda", "Tessary — second.hda"}));
  EXPECT_TRUE(QTest::qWaitFor([this] { return title() == QStringLiteral("Tessary — first.hda"); }));
}

TEST_F(DesktopOpen, BringsTheWindowUp) {
  answerTheDesktop();
  window()->showMinimized();
  EXPECT_EQ(call(QStringLiteral("Activate"), {QVariantMap()}), QString());
  EXPECT_FALSE(window()->isMinimized());
  EXPECT_TRUE(waitUntilActive(window()));
  EXPECT_EQ(status(), QStringLiteral("No image loaded"));
  window()->showMinimized();
  EXPECT_EQ(open({uriOf(image())}), QString());
  EXPECT_FALSE(window()->isMinimized());
}

TEST_F(DesktopOpen, HandsTheDesktopsLeaveToComeToTheFrontOn) {
  answerTheDesktop();
  open({}, {{QStringLiteral("activation-token"), QStringLiteral("a token")}});
  EXPECT_EQ(qgetenv("XDG_ACTIVATION_TOKEN"), "a token");
  qunsetenv("XDG_ACTIVATION_TOKEN");
}

TEST_F(DesktopOpen, OfSeveralDocumentsEachGetsAWindow) {
  answerTheDesktop();
  open({uriOf(image("one.hda")), uriOf(image("two.hda"))});
  ASSERT_TRUE(waitUntilIdle());
  QStringList opened = titles();
  opened.sort();
  EXPECT_EQ(opened, (QStringList{"Tessary — one.hda", "Tessary — two.hda"}));
}

TEST_F(DesktopOpen, DocumentThatDoesNotOpenIsReportedAndAnsweredWithSuccess) {
  answerTheDesktop();
  const std::string path = folder_.path("notes.txt");
  writeText(path, "notes");
  AlertAnswers answers;
  EXPECT_EQ(open({uriOf(path)}), QString());
  ASSERT_TRUE(waitUntilIdle());
  ASSERT_EQ(answers.shown().size(), 1U);
  EXPECT_EQ(answers.shown()[0].message, QStringLiteral("Cannot Open Image"));
  EXPECT_EQ(answers.shown()[0].informativeText,
            QStringLiteral("notes.txt: File too small to be an E-MU disk image"));
  EXPECT_EQ(status(), QStringLiteral("Failed to open image."));
}

TEST_F(DesktopOpen, WhatIsNoFileOfThisComputerIsRefusedWithAnAlert) {
  answerTheDesktop();
  for (const char *uri : {"https://tessary.example/disk.hda", "file://elsewhere.example/disk.hda", ""}) {
    AlertAnswers answers;
    EXPECT_EQ(open({QString::fromLatin1(uri)}), QString()) << "answered before the alert is";
    ASSERT_TRUE(QTest::qWaitFor([&] { return status() == QStringLiteral("Failed to open image."); }));
    ASSERT_EQ(answers.shown().size(), 1U);
    EXPECT_EQ(answers.shown()[0].message, QStringLiteral("Cannot Open Image"));
    EXPECT_EQ(answers.shown()[0].informativeText,
              QString::fromLatin1(uri) + QStringLiteral(": Not a file of this computer"));
    delegate_->mainWC()->statusLabel()->setText({});
  }
}

TEST_F(DesktopOpen, ActionsAreAnsweredAndChangeNothing) {
  answerTheDesktop();
  EXPECT_EQ(call(QStringLiteral("ActivateAction"), {QStringLiteral("quit"), QVariantList(), QVariantMap()}),
            QString());
  EXPECT_TRUE(window()->isVisible());
}

TEST_F(DesktopOpen, OffersTheInterfacesMethodsAndNoOthers) {
  answerTheDesktop();
  const QDBusPendingReply<QString> reply = desktop().asyncCall(QDBusMessage::createMethodCall(
      kName, QStringLiteral("/com/tessary/Tessary"), QStringLiteral("org.freedesktop.DBus.Introspectable"),
      QStringLiteral("Introspect")));
  ASSERT_TRUE(QTest::qWaitFor([&] { return reply.isFinished(); }));
  QStringList offered;
  QString interface;
  for (QXmlStreamReader xml(reply.value()); !xml.atEnd(); xml.readNext()) {
    const QString name = xml.attributes().value(QStringLiteral("name")).toString();
    if (xml.isStartElement() && xml.name() == QStringLiteral("interface")) interface = name;
    if (xml.isStartElement() && xml.name() == QStringLiteral("method") &&
        !interface.startsWith(QStringLiteral("org.freedesktop.DBus.")))
      offered += interface + QLatin1Char('.') + name;
  }
  EXPECT_EQ(offered, (QStringList{"org.freedesktop.Application.Activate", "org.freedesktop.Application.Open",
                                  "org.freedesktop.Application.ActivateAction"}));
}

TEST_F(DesktopOpen, WhoeverHasTheNameIsAskedAndThisProgramFollows) {
  ASSERT_EQ(desktop().interface()->registerService(kName).value(),
            QDBusConnectionInterface::ServiceRegistered);
  AlertAnswers answers;
  requests_ = std::make_unique<DesktopOpenRequests>(*delegate_, bus_->address());
  QTest::qWait(200);
  EXPECT_EQ(desktop().interface()->serviceOwner(kName).value(), desktop().baseService());
  EXPECT_TRUE(answers.shown().empty());
  desktop().interface()->unregisterService(kName);
  ASSERT_TRUE(QTest::qWaitFor([this] { return nameIsTaken(); }));
  EXPECT_EQ(open({uriOf(image())}), QString());
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(title(), QStringLiteral("Tessary — disk.hda"));
}

TEST_F(DesktopOpen, GivesTheNameUpWhenTheApplicationEnds) {
  answerTheDesktop();
  QObject::connect(delegate_.get(), &AppDelegate::terminating, requests_.get(), &DesktopOpenRequests::stop);
  QSemaphore gate;
  SerialQueue queue("com.tessary.test");
  queue.async([&] { gate.acquire(); }); // the application has still work to finish
  delegate_->terminate();
  EXPECT_TRUE(QTest::qWaitFor([this] { return !nameIsTaken(); }));
  requests_->Activate({});
  EXPECT_FALSE(window()->isVisible());
  gate.release();
  EXPECT_EQ(QApplication::exec(), 0);
}

TEST_F(DesktopOpen, WithoutABusTheProgramRunsOnInSilence) {
  requests_ = std::make_unique<DesktopOpenRequests>(
      *delegate_, QStringLiteral("unix:path=%1/none").arg(QFile::decodeName(folder_.path().c_str())));
  QTest::qWait(50);
  requests_->stop();
  requests_.reset();
  EXPECT_TRUE(window()->isVisible());
}

TEST_F(DesktopOpen, BusThatDoesNotAnswerIsNotWaitedFor) {
  MuteBus mute(folder_.path("mute"));
  requests_ = std::make_unique<DesktopOpenRequests>(
      *delegate_, QStringLiteral("unix:path=%1").arg(QFile::decodeName(folder_.path("mute").c_str())));
  ASSERT_TRUE(QTest::qWaitFor([&] { return mute.isCalled(); }));
  delegate_->mainWC()->openImageAtURL(image()); // while the connection hangs
  ASSERT_TRUE(waitUntilIdle());
  EXPECT_EQ(title(), QStringLiteral("Tessary — disk.hda"));
  requests_->stop();
  mute.hangUp();
}

} // namespace
} // namespace tessary::test
