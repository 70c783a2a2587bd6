// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/announcer.h"

#include <QAccessible>
#include <QGroupBox>

namespace kelvane {

Announcer::Announcer(QWidget* parent) : QLabel(parent) {
    setObjectName("Announcer");
    setGeometry(0, 0, 1, 1);
    lower();
}

void Announcer::Announce(const QString& text) {
    setText(text);
    setAccessibleName(text);
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

void NameTheFrames(QWidget* window) {
    const struct {
        const char* frame;
        const char* name;
    } names[] = {
        {"frTable", "the table"},
        {"frLocalHand", "your hand"},
        {"frRemoteHand", "your opponent's hand"},
        {"frUpPile", "the up pile"},
        {"frmScores", "the scores"},
    };
    for (const auto& n : names)
        if (auto* frame = window->findChild<QGroupBox*>(n.frame))
            frame->setAccessibleName(QString::fromLatin1(n.name));
}

}  // namespace kelvane
