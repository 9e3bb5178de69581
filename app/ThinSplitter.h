#pragma once

#include <QSplitter>

namespace tessary {

/// A splitter with a thin line between its parts, none of which can be pushed away.
class ThinSplitter : public QSplitter {
  Q_OBJECT

public:
  explicit ThinSplitter(QWidget *parent = nullptr);

protected:
  QSplitterHandle *createHandle() override;
};

} // namespace tessary
