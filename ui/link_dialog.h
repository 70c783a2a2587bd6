// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>
#include <QTimer>

class QLabel;
class QPushButton;

namespace kelvane {

class Table;

// Shown while the connection to a Kelvane opponent is lost: the game stays on the table behind
// it, untouched. The client calls the server again by itself every few seconds for a while, and
// the player may call again at once or give the game up; the server waits for its client.
class LinkDialog : public QDialog {
    Q_OBJECT

  public:
    LinkDialog(Table& table, bool reconnecting, QWidget* parent);
    QPushButton* reconnectButton() const { return reconnect_; }

  protected:
    void reject() override;

  private:
    void Recall();

    Table& table_;
    QLabel* text_;
    QPushButton* reconnect_ = nullptr;
    QPushButton* giveUp_;
    QTimer recall_;
    int recalls_ = 0;
};

}  // namespace kelvane
