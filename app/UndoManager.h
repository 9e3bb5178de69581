#pragma once

#include <QObject>
#include <QString>
#include <deque>
#include <functional>

namespace tessary {

/// The window's undo and redo: two stacks of calls with the names of the actions that they undo or redo.
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

  static Side opposite(Side side) { return side == Side::Undo ? Side::Redo : Side::Undo; }

  /// Registers how to undo something the user has newly done. What could be redone no longer can.
  void registerUndo(Call call, const QString &name = {});
  /// Registers how to take back an undo or redo step whose work has ended.
  void registerCounterpart(Side side, Call call, const QString &name = {});
  /// Registers a call again that could do nothing, to come after all others of that side. It counts among no
  /// levels: what the user does meanwhile does not drop it.
  void registerBelow(Side side, Call call, const QString &name = {});
  /// Drops all calls.
  void clear();
  /// Whether the calls can be run now; as long as not, there is nothing to undo or redo. True at first.
  void setAvailable(bool available);

  bool canUndo() const { return available_ && !undoCalls_.empty(); }
  bool canRedo() const { return available_ && !redoCalls_.empty(); }
  /// Of the action that would be undone, or redone; empty for none.
  QString undoName() const { return canUndo() ? undoCalls_.back().name : QString(); }
  QString redoName() const { return canRedo() ? redoCalls_.back().name : QString(); }
  /// Takes the newest call off its side and runs it. Does nothing when there is none.
  void undo();
  void redo();

signals:
  /// `canUndo` or `canRedo` may answer differently now.
  void changed();

private:
  struct Named {
    Call call;
    QString name;
    bool isBelow = false; ///< could do nothing before
  };
  using Calls = std::deque<Named>;

  Calls &callsOf(Side side) { return side == Side::Undo ? undoCalls_ : redoCalls_; }
  void push(Calls &calls, Named call);
  void runNewest(Calls &calls, Side counterpart);
  void dropOldest(Calls &calls) const;

  Calls undoCalls_;
  Calls redoCalls_;
  std::size_t levels_ = 0;
  bool available_ = true;
};

} // namespace tessary
