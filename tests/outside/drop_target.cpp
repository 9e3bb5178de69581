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
// which: a path a line.

namespace {

class FilesTaken final : public QLabel {
public:
  FilesTaken() : QLabel(QStringLiteral("Drop files here")) {
    setAlignment(Qt::AlignCenter);
    setAcceptDrops(true);
    setWindowTitle(QStringLiteral("Files taken"));
    resize(180, 120);
  }

protected:
  void dragEnterEvent(QDragEnterEvent *event) override {
    if (event->mimeData()->hasUrls()) event->acceptProposedAction();
  }
  void dropEvent(QDropEvent *event) override {
    event->acceptProposedAction();
    for (const QUrl &url : event->mimeData()->urls())
      std::puts(QFile::encodeName(url.toLocalFile()).constData());
    std::fflush(stdout);
  }
};

} // namespace

int main(int argc, char **argv) {
  QApplication application(argc, argv);
  FilesTaken window;
  window.show();
  return QApplication::exec();
}
