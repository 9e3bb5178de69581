// The list of what failed, and why.

#include "app/FailuresAlert.h"
#include "tests/app/WindowTest.h"

#include <QTableWidget>

namespace tessary {
namespace {

class FailuresList : public test::WindowTest {
protected:
  /// Of so many failures; shows all of each reason's lines.
  static void expectAllLinesShown(int count) {
    const QString longReason =
        QStringLiteral("/home/somebody/Music/A folder of banks/Another one below it/The last one.E4B: "
                       "No space left on device");
    FailuresAlert alert(
        QStringLiteral("Export Failed"),
        std::vector<ItemFailure>(static_cast<std::size_t>(count), {QStringLiteral("Bank"), longReason}),
        nullptr);
    alert.show();
    QCoreApplication::processEvents();
    auto *list = alert.findChild<QTableWidget *>(QStringLiteral("Failures"));
    ASSERT_NE(list, nullptr);
    const int line = list->fontMetrics().lineSpacing();
    for (int row = 0; row < count; ++row) {
      const int height = list->rowHeight(row);
      EXPECT_GT(height, 2 * line);
      list->resizeRowToContents(row);
      EXPECT_EQ(height, list->rowHeight(row)) << "of the width that the column has now";
    }
  }
};

TEST_F(FailuresList, ShowsALongReasonToItsEnd) {
  expectAllLinesShown(1);
}

TEST_F(FailuresList, ShowsLongReasonsToTheirEndsBesideAScrollBar) {
  expectAllLinesShown(20);
}

} // namespace
} // namespace tessary
