// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/link_dialog.h"

#include <QDialogButtonBox>
#include <QLabel>
#include <QPushButton>
#include <QVBoxLayout>

#include "engine/table.h"
#include "words/texts.h"

namespace kelvane {

namespace {
// A dropped Wi-Fi link or a restarted router is usually back within a minute or two.
constexpr int kRecallMs = 2000;
constexpr int kRecalls = 60;
}  // namespace

LinkDialog::LinkDialog(Table& table, bool reconnecting, QWidget* parent)
    : QDialog(parent), table_(table) {
    setObjectName("LinkDialog");
    setWindowTitle(QString::fromStdString(ConnectionLostTitle()));
    setAttribute(Qt::WA_DeleteOnClose);
    // The table stays in view and the chat stays usable behind it.
    setModal(false);
    text_ = new QLabel(QString::fromStdString(ConnectionLostText(reconnecting, true)), this);
    text_->setWordWrap(true);
    auto* buttons = new QDialogButtonBox(this);
    if (reconnecting) {
        reconnect_ = buttons->addButton("&Reconnect Now", QDialogButtonBox::AcceptRole);
        reconnect_->setObjectName("Reconnect");
        connect(reconnect_, &QPushButton::clicked, this, [this] {
            recalls_ = 0;
            Recall();
        });
    }
    giveUp_ = buttons->addButton("&Give Up", QDialogButtonBox::RejectRole);
    giveUp_->setObjectName("GiveUp");
    connect(giveUp_, &QPushButton::clicked, this, &LinkDialog::reject);
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(text_);
    layout->addWidget(buttons);
    setMinimumWidth(420);
    if (!reconnecting) return;
    recall_.setInterval(kRecallMs);
    connect(&recall_, &QTimer::timeout, this, &LinkDialog::Recall);
    recall_.start();
}

void LinkDialog::Recall() {
    table_.Reconnect();
    if (++recalls_ < kRecalls) {
        if (!recall_.isActive()) recall_.start();
        return;
    }
    // Calling on for ever would only keep a dead line busy; the player may still call again.
    recall_.stop();
    text_->setText(QString::fromStdString(ConnectionLostText(true, false)));
}

// Giving up, by the button or by closing the box, ends the session; the table stays in view.
void LinkDialog::reject() {
    recall_.stop();
    table_.GiveUpWaiting();
    QDialog::reject();
}

}  // namespace kelvane
