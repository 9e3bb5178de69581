#include <QApplication>
#include <QDrag>
#include <QFile>
#include <QLabel>
#include <QMimeData>
#include <QMouseEvent>
#include <QUrl>
#include <cstdio>

// drop_source FILE...
// A window whose content is the host files, to be dragged into another program's window. Offers what a file
// manager offers, and says on standard output what became of each drag: "copied", "moved" or "refused".

namespace {

class FileOffer final : public QLabel {
public:
  explicit FileOffer(const QStringList &paths) {
    QStringList names;
    for (const QString &path : paths) {
      urls_ += QUrl::fromLocalFile(path);
      names += urls_.last().fileName();
    }
    setText(names.join(QLatin1Char('\n')));
    setTextFormat(Qt::PlainText);
    setAlignment(Qt::AlignCenter);
    setWindowTitle(QStringLiteral("Files to drag"));
    resize(180, 120);
  }

protected:
  // Without it the press goes on to nobody, and no moves come.
  void mousePressEvent(QMouseEvent *event) override { event->accept(); }

  void mouseMoveEvent(QMouseEvent *event) override {
    if (!event->buttons().testFlag(Qt::LeftButton)) return;
    auto *files = new QMimeData;
    files->setUrls(urls_);
    auto *drag = new QDrag(this);
    drag->setMimeData(files);
    report(drag->exec(Qt::CopyAction | Qt::MoveAction | Qt::LinkAction, Qt::MoveAction));
  }

private:
  static void report(Qt::DropAction taken) {
    std::puts(taken == Qt::CopyAction ? "copied" : taken == Qt::IgnoreAction ? "refused" : "moved");
    std::fflush(stdout);
  }

  QList<QUrl> urls_;
};

} // namespace

int main(int argc, char **argv) {
  QApplication application(argc, argv);
  QStringList paths;
  for (int argument = 1; argument < argc; ++argument)
    paths += QFile::decodeName(argv[argument]);
  FileOffer offer(paths);
  offer.show();
  return QApplication::exec();
}
