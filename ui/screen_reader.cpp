// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/screen_reader.h"

#include <QtGui/private/qguiapplication_p.h>
#include <qpa/qplatformaccessibility.h>
#include <qpa/qplatformintegration.h>

#include <QAccessibleWidget>
#include <QCoreApplication>
#include <QGroupBox>
#include <QPointer>
#include <QWindow>

#include "ui/announcer.h"
#include "ui/card_image.h"
#include "ui/table_keys.h"

namespace kelvane {

namespace {

// A frame of the table without its empty card slots: a meld column has thirteen, most of them
// empty, and a reader walking the table would meet a row of nameless slots between two melds.
// Every frame is one of these, whatever it holds: a frame is asked for while it is being made,
// before it has a name to tell the table's from the others.
class FrameAccessible : public QAccessibleWidget {
  public:
    explicit FrameAccessible(QWidget* frame) : QAccessibleWidget(frame, QAccessible::Grouping) {}

    QString text(QAccessible::Text t) const override {
        if (t != QAccessible::Name || !widget()->accessibleName().isEmpty())
            return QAccessibleWidget::text(t);
        return static_cast<const QGroupBox*>(widget())->title().remove('&');
    }

    int childCount() const override { return static_cast<int>(Exposed().size()); }
    QAccessibleInterface* child(int index) const override {
        const QList<QWidget*> shown = Exposed();
        return index >= 0 && index < shown.size()
                   ? QAccessible::queryAccessibleInterface(shown[index])
                   : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* child) const override {
        return child ? static_cast<int>(Exposed().indexOf(child->object())) : -1;
    }

  private:
    QList<QWidget*> Exposed() const {
        QList<QWidget*> shown;
        for (QWidget* w : widget()->findChildren<QWidget*>(Qt::FindDirectChildrenOnly)) {
            const auto* slot = qobject_cast<const CardImage*>(w);
            if (!w->isWindow() && !(slot && slot->tag() == 0)) shown << w;
        }
        return shown;
    }
};

// The place the keys' frame is on. Each move of the keys focuses the other of two such places,
// and a reader speaks a focus that moves to another object; the one left keeps its name for a
// reader that reaches it late.
class PlaceAccessible : public QAccessibleInterface {
  public:
    PlaceAccessible(TableKeys* keys, int place) : keys_(keys), place_(place) {}

    bool isValid() const override { return !keys_.isNull(); }
    QObject* object() const override { return nullptr; }
    QWindow* window() const override { return keys_ ? keys_->window()->windowHandle() : nullptr; }
    QAccessibleInterface* childAt(int, int) const override { return nullptr; }
    QAccessibleInterface* parent() const override {
        return QAccessible::queryAccessibleInterface(keys_.data());
    }
    QAccessibleInterface* child(int) const override { return nullptr; }
    int childCount() const override { return 0; }
    int indexOfChild(const QAccessibleInterface*) const override { return -1; }
    QString text(QAccessible::Text t) const override {
        return keys_ && t == QAccessible::Name ? keys_->placeName(place_) : QString();
    }
    void setText(QAccessible::Text, const QString&) override {}
    // The card or space inside the keys' frame: a reader takes an object of the frame's own name
    // and place for the frame itself, and would not speak the move from the one to the other.
    QRect rect() const override {
        return keys_ ? QRect(keys_->mapToGlobal(QPoint(0, 0)), keys_->size()).adjusted(3, 3, -3, -3)
                     : QRect();
    }
    QAccessible::Role role() const override { return QAccessible::Client; }
    QAccessible::State state() const override {
        QAccessible::State s;
        s.focusable = true;
        s.focused = keys_ && keys_->hasFocus() && keys_->currentPlace() == place_;
        s.invisible = !keys_ || !keys_->isVisible() || keys_->currentPlace() != place_;
        return s;
    }

  private:
    QPointer<TableKeys> keys_;
    int place_;
};

class KeysAccessible : public QAccessibleWidget {
  public:
    explicit KeysAccessible(TableKeys* keys) : QAccessibleWidget(keys, QAccessible::Client) {
        for (int p = 0; p < 2; ++p)
            places_[p] = QAccessible::uniqueId(new PlaceAccessible(keys, p));
    }
    ~KeysAccessible() override {
        for (QAccessible::Id id : places_) QAccessible::deleteAccessibleInterface(id);
    }

    // Both places stay children, so a reader that reaches the one left late still finds it in
    // its parent; only the one the frame is on is shown and focused.
    int childCount() const override { return 2; }
    QAccessibleInterface* child(int index) const override {
        return index == 0 || index == 1 ? QAccessible::accessibleInterface(places_[index])
                                        : nullptr;
    }
    int indexOfChild(const QAccessibleInterface* child) const override {
        for (int p = 0; p < 2; ++p)
            if (child && child == QAccessible::accessibleInterface(places_[p])) return p;
        return -1;
    }
    QAccessibleInterface* focusChild() const override {
        return widget()->hasFocus() ? child(static_cast<const TableKeys*>(widget())->currentPlace())
                                    : nullptr;
    }

  private:
    QAccessible::Id places_[2] = {};
};

// A card slot, named after the card it shows when a reader asks.
class CardAccessible : public QAccessibleWidget {
  public:
    explicit CardAccessible(CardImage* card) : QAccessibleWidget(card, QAccessible::Client) {}
    QString text(QAccessible::Text t) const override {
        return t == QAccessible::Name ? static_cast<const CardImage*>(widget())->spokenName()
                                      : QAccessibleWidget::text(t);
    }
};

QAccessibleInterface* Factory(const QString& className, QObject* object) {
    if (className == QLatin1String(CardImage::staticMetaObject.className()))
        return new CardAccessible(static_cast<CardImage*>(object));
    if (className == QLatin1String(SpokenNews::staticMetaObject.className()))
        return new QAccessibleWidget(static_cast<QWidget*>(object), QAccessible::Notification);
    if (className == QLatin1String(TableKeys::staticMetaObject.className()))
        return new KeysAccessible(static_cast<TableKeys*>(object));
    if (className == QLatin1String("QGroupBox"))
        return new FrameAccessible(static_cast<QWidget*>(object));
    return nullptr;
}

}  // namespace

void InstallScreenReaderFactory() {
    static const bool installed = [] {
        QAccessible::installFactory(Factory);
        return true;
    }();
    (void)installed;
}

void AnswerScreenReader() {
    // The desktop's accessibility bus asks through one object of Qt's bridge; its questions wait
    // as posted calls to it.
    static QPointer<QObject> bus;
    if (!bus) {
        const QPlatformIntegration* platform = QGuiApplicationPrivate::platformIntegration();
        auto* bridge = platform ? dynamic_cast<QObject*>(platform->accessibility()) : nullptr;
        if (!bridge) return;
        for (QObject* child : bridge->findChildren<QObject*>())
            if (child->inherits("QDBusVirtualObject")) bus = child;
        if (!bus) return;
    }
    QCoreApplication::sendPostedEvents(bus, QEvent::MetaCall);
}

}  // namespace kelvane
