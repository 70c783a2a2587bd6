// SPDX-License-Identifier: GPL-3.0-or-later
#include <QGroupBox>
#include <QLineEdit>
#include <QPushButton>
#include <QTextEdit>

#include "ui/announcer.h"
#include "ui/card_image.h"
#include "ui/form1.h"
#include "ui/geometry.h"
#include "ui/table_keys.h"
#include "ui/welcome_panel.h"

namespace kelvane {

void Form1::BuildAccess() {
    NameTheFrames(this);
    // The chat's label stands beside the input box, not before it in the tab order; a reader
    // hears each by its own name.
    txtSay_->setAccessibleName(QStringLiteral("chat message to your opponent"));
    rtbConvo_->setAccessibleName(QStringLiteral("chat with your opponent"));
    imgStack_->setNamedByOwner();
    imgStack_->setAccessibleName(QString::fromStdString(StackName(table_->state().StackCount)));
    announcer_ = new Announcer(this);
    keys_ = new TableKeys(
        *table_, {imgStack_, imgUpPile_, imgMeld_, imgLocal_, frTable_},
        [this](const std::function<void()>& handler) { PlayerGesture(handler); }, client_);
    // Laid over the table, not in the window's layout: the table's captions stay as they are.
    welcome_ = new WelcomePanel(mnuComputer_, mnuServer_, mnuClient_, this);
    // A newcomer's Space plays at once.
    welcome_->computerButton()->setFocus();
    setTabOrder(welcome_->clientButton(), keys_);
    setTabOrder(keys_, txtSay_);
}

void Form1::PlaceWelcome() {
    if (!welcome_) return;
    welcome_->PlaceIn(QRect(frTable_->mapTo(this, QPoint(0, 0)), frTable_->size())
                          .adjusted(Px(240), Px(360), -Px(240), -Px(120)));
    welcome_->raise();
}

void Form1::FollowKeys() {
    if (keys_) keys_->Follow();
}

void Form1::SetStatusText(const QString& text) {
    lblStatus_->setText(text);
    lblStatus_->setAccessibleName(QString::fromStdString(StatusName(text.toStdString())));
}

}  // namespace kelvane
