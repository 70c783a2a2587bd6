// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/results_dialog.h"

#include <QApplication>
#include <QEvent>
#include <QLabel>
#include <QPushButton>

#include "ui/fonts.h"
#include "ui/geometry.h"

namespace kelvane {

ResultsDialog::ResultsDialog(QWidget* parent) : QDialog(parent) {
    setObjectName("Dialog");
    setWindowTitle("Kelvane");
    setAttribute(Qt::WA_DeleteOnClose);
    setFixedSize(Px(6030), Px(2145));
    label1_ = new QLabel("Label1", this);
    label1_->setObjectName("Label1");
    label1_->setGeometry(Twips(240, 240, 5535, 1095));
    label1_->setAlignment(Qt::AlignCenter);
    // A message longer than a line goes on to a second one within the label's height.
    label1_->setWordWrap(true);
    label1_->setFont(DesignFont(24));
    okButton_ = new QPushButton("OK", this);
    okButton_->setObjectName("OKButton");
    okButton_->setGeometry(Twips(2400, 1680, 1215, 375));
    okButton_->setDefault(true);
    connect(okButton_, &QPushButton::clicked, this, &QDialog::close);
    okButton_->installEventFilter(this);
}

void ResultsDialog::ShowMessage(const QString& text) {
    label1_->setText(text);
    if (isVisible()) return;
    show();
    raise();
    activateWindow();
    okButton_->setFocus(Qt::OtherFocusReason);
}

QString ResultsDialog::message() const {
    return label1_->text();
}

bool ResultsDialog::eventFilter(QObject* watched, QEvent* event) {
    // Only a control of this program takes the focus away for good; when the player switches to
    // another program, the button gets the focus back on his return.
    if (watched == okButton_ && event->type() == QEvent::FocusOut &&
        QApplication::activeWindow() != nullptr)
        close();
    return QDialog::eventFilter(watched, event);
}

}  // namespace kelvane
