#pragma once

#include <QList>
#include <QString>
#include <QTextBrowser>
#include <QUrl>

namespace tessary {

/// A few centred words with links in them, on whatever lies behind. Can be selected but not edited. A link
/// opens in the desktop's own program: with the mouse, or with Tab and the space bar (Return belongs to the
/// panel). A screen reader finds each link by itself.
class LinkText final : public QTextBrowser {
  Q_OBJECT

public:
  struct Run {
    QString text; ///< "\n" ends a paragraph
    QUrl target;  ///< empty where the text is no link
  };

  /// Sizes are in device-independent pixels. The colours follow the palette for as long as the view lives.
  LinkText(QList<Run> textRuns, int pixelSize, int paragraphSpacing, QWidget *parent);

  /// Those of the runs that are links.
  QList<Run> links() const;
  /// Where a link is drawn, in the view's coordinates.
  QRect placeOf(const Run &link) const;
  void open(const Run &link);

protected:
  void changeEvent(QEvent *event) override;
  void keyPressEvent(QKeyEvent *event) override;

private:
  void write();
  QTextCharFormat characterFormat(const Run &run) const;

  QList<Run> runs_;
  int spacing_;
};

} // namespace tessary
