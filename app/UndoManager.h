#pragma once

#include <QObject>
#include <QString>
#include <deque>
#include <functional>

namespace tessary {

/// The window's undo and redo: two stacks of calls, and the name of the action they undo.
///
/// The steps behind the calls run in the background, so a call's counterpart is registered long after
/// `undo` or `redo` has returned. A call is therefore told the side its counterpart belongs to, and hands
/// that to `registerCounterpart` when its work has ended. Main thread only.
class UndoManager final : public QObject {
  Q_OBJECT

public:
  enum class Side { Undo, Redo };
  /// `counterpart` is the side on which what takes the call back is to be registered.
  using Call = std::function<void(Side counterpart)>;

  using QObject::QObject;

  /// How many calls each side keeps at most; older ones are dropped. 0, as at first, is no limit.
  void setLevelsOfUndo(std::size_t levels);
  std::size_t levelsOfUndo() const { return levels_; }

  QString actionName() const { return actionName_; }
  void setActionName(const QString &name) { actionName_ = name; }

  /// Registers how to undo something the user has newly done. What could be redone no longer can.
  void registerUndo(Call call);
  /// Registers how to take back an undo or redo step whose work has ended.
  void registerCounterpart(Side side, Call call);
  /// Registers a call again that could do nothing, to come after all others of that side.
  void registerBelow(Side side, Call call);

  bool canUndo() const { return !undoCalls_.empty(); }
  bool canRedo() const { return !redoCalls_.empty(); }
  /// Takes the newest call off its side and runs it. Does nothing when there is none.
  void undo();
  void redo();

signals:
  /// `canUndo` or `canRedo` may answer differently now.
  void changed();

private:
  std::deque<Call> &callsOf(Side side) { return side == Side::Undo ? undoCalls_ : redoCalls_; }
  void push(std::deque<Call> &calls, Call call);
  void runNewest(std::deque<Call> &calls, Side counterpart);
  void dropOldest(std::deque<Call> &calls) const;

  std::deque<Call> undoCalls_;
  std::deque<Call> redoCalls_;
  std::size_t levels_ = 0;
  QString actionName_;
};

} // namespace tessary
