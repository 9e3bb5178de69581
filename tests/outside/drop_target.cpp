#include <QApplication>
#include <QDragEnterEvent>
#include <QDropEvent>
#include <QFile>
#include <QLabel>
#include <QMimeData>
#include <QUrl>
#include <cstdio>

// drop_target
// A window that takes files which are dropped on it, as another program does, and says on standard output
// which: a path a line, or "nothing". With --asks-early it asks for them when the drag comes over it, too, as
// some file managers do, and says what it is told then.

namespace {

class FilesTaken final : public QLabel {
public:
  explicit FilesTaken(bool asksEarly) : QLabel(QStringLiteral("Drop files here")), asksEarly_(asksEarly) {
    setAlignment(Qt::AlignCenter);
    setAcceptDrops(true);
    setWindowTitle(QStringLiteral("Files taken"));
    resize(180, 120);
  }

protected:
  void dragEnterEvent(QDragEnterEvent *event) override {
    if (!event->mimeData()->hasUrls()) return;
    if (asksEarly_) say(event->mimeData()->urls());
    event->acceptProposedAction();
  }
  void dropEvent(QDropEvent *event) override {
    event->acceptProposedAction();
    say(event->mimeData()->urls());
  }

private:
  static void say(const QList<QUrl> &urls) {
    for (const QUrl &url : urls)
      std::puts(QFile::encodeName(url.toLocalFile()).constData());
    if (urls.isEmpty()) std::puts("nothing");
    std::fflush(stdout);
  }

  const bool asksEarly_;
};

} // namespace

int main(int argc, char **argv) {
  QApplication application(argc, argv);
  FilesTaken window(QApplication::arguments().contains(QStringLiteral("--asks-early")));
  window.show();
  return QApplication::exec();
}
