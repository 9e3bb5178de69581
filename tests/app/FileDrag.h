#pragma once

#include <QByteArray>
#include <QList>
#include <QMimeData>
#include <QPoint>
#include <QString>
#include <QWidget>
#include <memory>
#include <string>
#include <vector>

namespace tessary::test {

/// A drag that another program, or another window, makes over the window, reported to it as the window system
/// reports it.
class FileDrag {
public:
  /// Of these host files.
  explicit FileDrag(const std::vector<std::string> &paths);
  /// Of data of one kind.
  FileDrag(const QString &mimeType, const QByteArray &data) { data_->setData(mimeType, data); }
  /// Of what a view of the program makes of its rows.
  explicit FileDrag(QMimeData *ofView) : data_(ofView) {}
  ~FileDrag() { leave(); }
  FileDrag(const FileDrag &) = delete;
  FileDrag &operator=(const FileDrag &) = delete;

  void setPossibleActions(Qt::DropActions actions) { possibleActions_ = actions; }
  /// Keys held down, which change the action that is proposed.
  void setModifiers(Qt::KeyboardModifiers modifiers) { modifiers_ = modifiers; }

  /// Moves to a place of a widget. Returns the action that a drop there would be; refused is IgnoreAction.
  Qt::DropAction moveTo(QWidget *widget, const QPoint &position);
  /// Lets go there. What was refused is not dropped. Returns the action taken.
  Qt::DropAction dropOn(QWidget *widget, const QPoint &position);
  void leave();

private:
  std::unique_ptr<QMimeData> data_ = std::make_unique<QMimeData>();
  Qt::DropActions possibleActions_ = Qt::CopyAction | Qt::MoveAction | Qt::LinkAction;
  Qt::KeyboardModifiers modifiers_;
  QWindow *over_ = nullptr;
};

/// Bytes as they stand in a list of URLs, one a line.
QByteArray uriList(const std::vector<std::string> &urls);

} // namespace tessary::test
