#include "app/WindowList.h"

#include "app/MainWindow.h"
#include "app/MainWindowController.h"
#include "app/WindowPlace.h"
#include "app/WorkQueue.h"

#include <QDrag>
#include <QGuiApplication>
#include <QPointer>
#include <QThreadPool>
#include <QWindow>
#include <algorithm>
#include <utility>

namespace tessary {
namespace {

/// Whether nothing of it is in use any more: no task runs, and no drag that began in it, whose view must
/// outlast it.
bool mayEnd(const std::unique_ptr<MainWindowController> &window) {
  return !window->isWorking() && !window->window()->findChild<QDrag *>();
}

} // namespace

WindowList::WindowList(QObject *parent) : QObject(parent) {
  connect(qGuiApp, &QGuiApplication::focusWindowChanged, this, &WindowList::windowUsed);
  constexpr int millisecondsBetweenChecks = 50;
  closedCheck_.setInterval(millisecondsBetweenChecks);
  connect(&closedCheck_, &QTimer::timeout, this, &WindowList::endClosed);
}

WindowList::~WindowList() {
  windows_.clear();
  closed_.clear();
  workQueue().waitForDone();
}

// ---- Windows

MainWindowController *WindowList::openWindow() {
  const MainWindowController *before = lastUsed();
  MainWindowController *opened = windows_.emplace_back(std::make_unique<MainWindowController>(*this)).get();
  byUse_.push_back(opened); // until it gets the keyboard
  connect(opened, &MainWindowController::windowClosed, this, [this, opened] { windowClosed(opened); });
  emit windowOpened(opened);
  if (before) placeBeside(opened->window(), *before->window());
  opened->showWindow();
  return opened;
}

std::vector<MainWindowController *> WindowList::windows() const {
  std::vector<MainWindowController *> all;
  for (const auto &window : windows_)
    all.push_back(window.get());
  return all;
}

std::vector<MainWindowController *> WindowList::working() const {
  std::vector<MainWindowController *> working = windows();
  for (const auto &window : closed_)
    working.push_back(window.get());
  std::erase_if(working, [](const MainWindowController *window) { return !window->isWorking(); });
  return working;
}

void WindowList::stopWork() {
  for (const auto *each : {&windows_, &closed_})
    for (const auto &window : *each)
      window->stopWork();
}

void WindowList::windowUsed(const QWindow *window) {
  while (window && window->transientParent())
    window = window->transientParent();
  const auto used = std::find_if(byUse_.begin(), byUse_.end(), [window](const MainWindowController *each) {
    return window && each->window()->windowHandle() == window;
  });
  if (used != byUse_.end()) std::rotate(byUse_.begin(), used, used + 1);
}

void WindowList::windowClosed(MainWindowController *window) {
  // An image that is being opened for a new window still gets one.
  if (windows_.size() == 1 && openingsElsewhere_ > 0 && !window->isEnding()) openWindow();
  if (windows_.size() == 1) return emit lastWindowClosed();
  window->prepareToQuit();
  const auto closed = std::find_if(windows_.begin(), windows_.end(),
                                   [window](const auto &each) { return each.get() == window; });
  closed_.push_back(std::move(*closed));
  windows_.erase(closed);
  std::erase(byUse_, window);
  closedCheck_.start(); // not at once: the window itself is the caller
}

void WindowList::endClosed() {
  std::erase_if(closed_, mayEnd);
  if (closed_.empty()) closedCheck_.stop();
}

// ---- Images

MainWindowController *WindowList::emptyWindow() const {
  const auto empty = std::find_if(byUse_.begin(), byUse_.end(),
                                  [](const MainWindowController *window) { return window->isEmpty(); });
  return empty == byUse_.end() ? nullptr : *empty;
}

void WindowList::openImage(const std::string &imageURL) {
  if (MainWindowController *empty = emptyWindow())
    empty->openImageAtURL(imageURL);
  else
    openInNewWindow(imageURL);
}

/// The window that was used last shows that it is being opened, and may be closed meanwhile.
void WindowList::openInNewWindow(const std::string &imageURL) {
  ++openingsElsewhere_;
  const auto ended = [list = QPointer(this)](const EMU3FilesystemPtr &image, const QString &failure) {
    if (list) list->openedElsewhere(image, failure);
  };
  lastUsed()->openImageElsewhere(imageURL, ended);
}

void WindowList::openedElsewhere(const EMU3FilesystemPtr &image, const QString &failure) {
  --openingsElsewhere_;
  if (!lastUsed() || lastUsed()->isEnding()) return; // the program ends
  if (!failure.isEmpty()) return lastUsed()->openingFailed(failure);
  if (image && !bringToFront(*image, nullptr)) showImage(image);
}

void WindowList::showImage(const EMU3FilesystemPtr &image) {
  MainWindowController *window = emptyWindow();
  if (!window) window = openWindow();
  window->showImage(image);
  window->bringToFront();
}

bool WindowList::bringToFront(const EMU3Filesystem &image, const MainWindowController *asking) {
  for (MainWindowController *window : byUse_) {
    const EMU3FilesystemPtr shown = window->filesystem();
    if (window == asking || !shown || !shown->isOfSameImage(image)) continue;
    window->bringToFront();
    return true;
  }
  return false;
}

} // namespace tessary
