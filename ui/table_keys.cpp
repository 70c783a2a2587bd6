// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/table_keys.h"

#include <QAccessible>
#include <QKeyEvent>
#include <QPainter>
#include <algorithm>

#include "ui/card_image.h"
#include "words/texts.h"

namespace kelvane {

TableKeys::TableKeys(Table& table, Places places,
                     std::function<void(const std::function<void()>&)> gesture, QWidget* parent)
    : QWidget(parent), table_(table), places_(places), gesture_(std::move(gesture)) {
    setObjectName("TableKeys");
    // Said once as the keys take the table; each place is said as the frame reaches it.
    setAccessibleDescription(QString::fromStdString(TableKeysHelp()));
    setFocusPolicy(Qt::StrongFocus);
    // The frame only shows where the keys act; the mouse reaches the cards below it.
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setAttribute(Qt::WA_NoSystemBackground);
}

int TableKeys::Count(Row row) const {
    const GameState& s = table_.state();
    switch (row) {
        case Row::kPiles:
            return 1 + s.UpCount.value();
        case Row::kTable:
            return 1 + s.TableMelds.ColumnCount().value();
        case Row::kHand:
            return std::max(1, static_cast<int>(s.LocalCount.value()));
    }
    return 1;
}

QWidget* TableKeys::Target() const {
    const auto at = [](const std::vector<CardImage*>& slots, int i) -> QWidget* {
        return i >= 0 && i < static_cast<int>(slots.size()) ? slots[static_cast<std::size_t>(i)]
                                                            : nullptr;
    };
    switch (row_) {
        case Row::kPiles:
            return index_ == 0 ? places_.stack : at(places_.upPile, index_ - 1);
        case Row::kTable:
            return index_ == 0 ? places_.cloth : at(places_.melds, (index_ - 1) * kSlotsPerColumn);
        case Row::kHand:
            return table_.state().LocalCount > 0 ? at(places_.hand, index_) : places_.cloth;
    }
    return nullptr;
}

QString TableKeys::TargetName() const {
    const GameState& s = table_.state();
    if (row_ == Row::kTable)
        return QString::fromStdString(index_ == 0 ? ClothName() : MeldName(Int16(index_ - 1), s));
    if (row_ == Row::kHand && s.LocalCount == 0) return QStringLiteral("your hand, empty");
    if (const auto* card = qobject_cast<const CardImage*>(Target())) return card->spokenName();
    return QString();
}

void TableKeys::Follow() {
    index_ = std::clamp(index_, 0, Count(row_) - 1);
    QWidget* target = Target();
    if (!target || !parentWidget()) return;
    QRect at(target->mapTo(parentWidget(), QPoint(0, 0)), target->size());
    // The free space is the table's inside, under its caption.
    if (target == places_.cloth) at = at.adjusted(4, 16, -4, -4);
    at = at.adjusted(-3, -3, 3, 3);
    // A card is seen only as far as its frame shows it; so is the keyboard's frame around it.
    if (QWidget* frame = target->parentWidget(); frame && frame != parentWidget())
        at = at.intersected(QRect(frame->mapTo(parentWidget(), QPoint(0, 0)), frame->size()));
    setGeometry(at);
    raise();
    const QString name = TargetName();
    if (name != accessibleName()) setAccessibleName(name);
    update();
}

void TableKeys::keyPressEvent(QKeyEvent* event) {
    const QString before = accessibleName();
    const int rows = 3;
    int row = static_cast<int>(row_);
    switch (event->key()) {
        case Qt::Key_Left:
            --index_;
            break;
        case Qt::Key_Right:
            ++index_;
            break;
        case Qt::Key_Home:
            index_ = 0;
            break;
        case Qt::Key_End:
            index_ = Count(row_) - 1;
            break;
        case Qt::Key_Up:
            row = std::max(0, row - 1);
            break;
        case Qt::Key_Down:
            row = std::min(rows - 1, row + 1);
            break;
        case Qt::Key_Space:
        case Qt::Key_Return:
        case Qt::Key_Enter:
            Act(kMouseLeft);
            break;
        case Qt::Key_D:
        case Qt::Key_Delete:
            if (row_ == Row::kHand) Act(kMouseRight);
            break;
        default:
            return QWidget::keyPressEvent(event);
    }
    shown_ = true;
    row_ = static_cast<Row>(row);
    Follow();
    if (hasFocus()) SpeakPlace(before);
}

QString TableKeys::placeName(int place) const {
    return place == current_ ? accessibleName() : placeNames_[place];
}

void TableKeys::SpeakPlace(const QString& left) {
    QAccessibleInterface* keys = QAccessible::queryAccessibleInterface(this);
    if (!keys) return;
    placeNames_[current_] = left;
    current_ = 1 - current_;
    if (QAccessibleInterface* place = keys->child(current_)) {
        QAccessibleEvent moved(place, QAccessible::Focus);
        QAccessible::updateAccessibility(&moved);
    }
}

void TableKeys::Act(int button) {
    const int i = index_;
    switch (row_) {
        case Row::kPiles:
            if (i == 0) return gesture_([&] { table_.imgStack_Click(); });
            return gesture_([&] { table_.imgUpPile_Click(Int16(i - 1)); });
        case Row::kTable:
            if (i == 0) return gesture_([&] { table_.frTable_Click(); });
            return gesture_([&] { table_.imgMeld_Click(Int16((i - 1) * kSlotsPerColumn)); });
        case Row::kHand:
            if (table_.state().LocalCount == 0) return;
            return gesture_([&] { table_.imgLocal_MouseDown(Int16(i), button); });
    }
}

void TableKeys::paintEvent(QPaintEvent*) {
    if (!hasFocus() || !shown_) return;
    QPainter painter(this);
    // Black dashes over white: seen on the green cloth, a red card and a white one alike.
    const QRect frame = rect().adjusted(1, 1, -2, -2);
    painter.setPen(QPen(Qt::white, 3));
    painter.drawRect(frame);
    painter.setPen(QPen(Qt::black, 3, Qt::DashLine));
    painter.drawRect(frame);
}

void TableKeys::focusInEvent(QFocusEvent* event) {
    shown_ = shown_ || event->reason() == Qt::TabFocusReason ||
             event->reason() == Qt::BacktabFocusReason;
    Follow();
    QWidget::focusInEvent(event);
}

void TableKeys::focusOutEvent(QFocusEvent* event) {
    shown_ = false;
    update();
    QWidget::focusOutEvent(event);
}

}  // namespace kelvane
