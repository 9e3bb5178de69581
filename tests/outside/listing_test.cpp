#include "tests/app/WindowTest.h"
#include "tests/support/SampleVolumes.h"

#include <QMap>
#include <QProcess>
#include <QTest>

namespace tessary::test {
namespace {

using Rows = QList<QStringList>;

/// What the command line prints of an image, folder by folder, beside what the window shows of it.
class WindowBesideCommandLine : public WindowTest {
protected:
  /// The rows of `ls -R` by the path of their folder, files and folders apart.
  struct Listing {
    QMap<QString, Rows> files;
    QMap<QString, QStringList> folders;
  };

  /// A line as the window's columns show it: dashes for what there is not, sizes in words.
  static QStringList asShown(const QStringList &line) {
    QStringList row = line.mid(1, 6);
    for (QString &cell : row)
      if (cell.isEmpty()) cell = QStringLiteral("—");
    row.last() = QString::fromStdString(fileSizeStringFor(line[6].toULongLong()));
    return row;
  }

  static Listing listed(const std::string &image) {
    QProcess program;
    program.start(QStringLiteral(TESSARY_CLI_PROGRAM), {QStringLiteral("ls"), QString::fromStdString(image),
                                                        QStringLiteral("-R"), QStringLiteral("--csv")});
    EXPECT_TRUE(program.waitForFinished());
    EXPECT_EQ(program.exitCode(), 0);
    Listing listing;
    QStringList lines = QString::fromUtf8(program.readAllStandardOutput()).split('\n', Qt::SkipEmptyParts);
    for (const QString &line : lines.mid(1)) {
      EXPECT_FALSE(line.contains('"')) << "a name that needs quotes is not expected here";
      const QStringList row = line.split(',');
      const QString above = row[0].section('/', 0, -2);
      const QString folder = above.isEmpty() ? QStringLiteral("/") : above;
      if (row[2] == QLatin1String("Folder"))
        listing.folders[folder].append(row[1]);
      else
        listing.files[folder].append(asShown(row));
    }
    return listing;
  }

  Rows shownRows() const {
    Rows rows;
    const QAbstractItemModel &model = *table()->model();
    for (int row = 0; row < model.rowCount(); ++row) {
      rows.append(QStringList());
      for (int column = 0; column < model.columnCount(); ++column)
        rows.last().append(model.index(row, column).data().toString());
    }
    return rows;
  }
  void expectRows(const Rows &expected, const QString &folder) const {
    EXPECT_TRUE(QTest::qWaitFor([&] { return shownRows() == expected; }, 20'000)) << folder.toStdString();
  }

  /// Goes through every folder of the listing. Returns how many there were.
  int compare(const Listing &listing) {
    QTest::mouseClick(outline()->viewport(), Qt::LeftButton, {},
                      QPoint(20, outline()->viewport()->height() - 5));
    expectRows(listing.files[QStringLiteral("/")], QStringLiteral("/"));
    QStringList pending{QString()};
    int count = 0;
    while (!pending.isEmpty()) {
      const QString parent = pending.takeLast();
      for (const QString &name : listing.folders[parent.isEmpty() ? QStringLiteral("/") : parent]) {
        const QString path = parent + '/' + name;
        const QStringList names = path.split('/', Qt::SkipEmptyParts);
        const Rows &files = listing.files[path];
        chooseFolder(names);
        expectRows(files, path);
        const QString label = files.isEmpty() ? name : QStringLiteral("%1 (%2)").arg(name).arg(files.size());
        EXPECT_EQ(folderItem(names).data().toString(), label);
        EXPECT_EQ(status(), QStringLiteral("%1 — %2 file(s)").arg(name).arg(files.size()));
        pending.append(path);
        ++count;
      }
    }
    return count;
  }
};

TEST_F(WindowBesideCommandLine, ShowsWhatIsPrintedOfTheDemoImage) {
  EXPECT_EQ(compare(listed(mount(demoVolume()))), 12);
}

TEST_F(WindowBesideCommandLine, ShowsWhatIsPrintedOfAnImageOf1GiB) {
  EXPECT_EQ(compare(listed(mount(bigVolume()))), 40);
}

} // namespace
} // namespace tessary::test
