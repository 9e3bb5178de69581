#include "app/AccessibleLinks.h"

#include "app/LinkText.h"

#include <QAccessible>
#include <QAccessibleWidget>
#include <QPointer>
#include <utility>
#include <vector>

namespace tessary {
namespace {

class AccessibleLink final : public QAccessibleInterface, public QAccessibleActionInterface {
public:
  AccessibleLink(LinkText *view, LinkText::Run link) : view_(view), link_(std::move(link)) {}

  bool isValid() const override { return view_; }
  QObject *object() const override { return nullptr; }
  QAccessibleInterface *parent() const override { return QAccessible::queryAccessibleInterface(view_); }
  QAccessibleInterface *child(int) const override { return nullptr; }
  QAccessibleInterface *childAt(int, int) const override { return nullptr; }
  int childCount() const override { return 0; }
  int indexOfChild(const QAccessibleInterface *) const override { return -1; }
  QAccessible::Role role() const override { return QAccessible::Link; }
  QString text(QAccessible::Text kind) const override {
    if (kind == QAccessible::Name) return link_.text;
    return kind == QAccessible::Value ? link_.target.toString() : QString();
  }
  void setText(QAccessible::Text, const QString &) override {}
  QRect rect() const override {
    if (!view_) return {};
    const QRect place = view_->placeOf(link_);
    return {view_->viewport()->mapToGlobal(place.topLeft()), place.size()};
  }
  QAccessible::State state() const override {
    QAccessible::State state;
    state.invisible = !view_ || !view_->isVisible();
    state.focusable = true;
    state.linked = true;
    return state;
  }
  void *interface_cast(QAccessible::InterfaceType type) override {
    return type == QAccessible::ActionInterface ? static_cast<QAccessibleActionInterface *>(this) : nullptr;
  }

  QStringList actionNames() const override { return {pressAction()}; }
  void doAction(const QString &action) override {
    if (view_ && action == pressAction()) view_->open(link_);
  }
  QStringList keyBindingsForAction(const QString &) const override { return {}; }

private:
  QPointer<LinkText> view_;
  const LinkText::Run link_;
};

class AccessibleLinkText final : public QAccessibleWidget {
public:
  explicit AccessibleLinkText(LinkText *view) : QAccessibleWidget(view, QAccessible::StaticText) {
    for (const LinkText::Run &link : view->links())
      links_.push_back(QAccessible::registerAccessibleInterface(new AccessibleLink(view, link)));
  }
  ~AccessibleLinkText() override {
    for (const QAccessible::Id link : links_)
      QAccessible::deleteAccessibleInterface(link);
  }

  int childCount() const override { return static_cast<int>(links_.size()); }
  QAccessibleInterface *child(int index) const override {
    if (index < 0 || index >= childCount()) return nullptr;
    return QAccessible::accessibleInterface(links_[static_cast<std::size_t>(index)]);
  }
  QAccessibleInterface *childAt(int x, int y) const override {
    for (int index = 0; index < childCount(); ++index)
      if (child(index)->rect().contains(x, y)) return child(index);
    return nullptr;
  }
  int indexOfChild(const QAccessibleInterface *sought) const override {
    for (int index = 0; index < childCount(); ++index)
      if (child(index) == sought) return index;
    return -1;
  }

private:
  std::vector<QAccessible::Id> links_;
};

QAccessibleInterface *makeAccessible(const QString &className, QObject *object) {
  if (className != QLatin1String(LinkText::staticMetaObject.className())) return nullptr;
  return new AccessibleLinkText(static_cast<LinkText *>(object));
}

} // namespace

void makeLinksAccessible() {
  static const bool isDone = [] {
    QAccessible::installFactory(makeAccessible);
    return true;
  }();
  static_cast<void>(isDone);
}

} // namespace tessary
