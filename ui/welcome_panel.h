// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QFrame>

class QAction;
class QComboBox;
class QPushButton;

namespace kelvane {

// The empty table's welcome: the three ways to play, each a button that triggers the menu's own
// action, so the two can never do different things, and the game in one line. The computer's
// levels are the submenu's own entries, whatever levels it offers.
class WelcomePanel : public QFrame {
    Q_OBJECT

  public:
    // `computerMenu` is the submenu's own entry: its menu lists the levels.
    WelcomePanel(QAction* computerMenu, QAction* server, QAction* client, QWidget* parent);

    QPushButton* computerButton() const { return computer_; }
    QPushButton* serverButton() const { return server_; }
    QPushButton* clientButton() const { return client_; }

    // Centred in `area` (the table, in the panel's parent's coordinates), at a size that fits.
    void PlaceIn(const QRect& area);

  private:
    QPushButton* Button(QAction* action);

    QPushButton* computer_ = nullptr;
    QPushButton* server_ = nullptr;
    QPushButton* client_ = nullptr;
    QComboBox* level_ = nullptr;
};

}  // namespace kelvane
