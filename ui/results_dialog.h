// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QDialog>

#include "words/texts.h"

class QLabel;
class QPushButton;

namespace kelvane {

// The small modeless window that tells a round's or a game's result. It goes away at OK, and as
// soon as its button loses the focus to anything else in the program (not when the player turns to
// another program): the game never waits on it.
class ResultsDialog : public QDialog {
    Q_OBJECT

  public:
    explicit ResultsDialog(QWidget* parent);
    // Shows the window, or only replaces its text while it is open. The figures are the window's
    // own copy: whatever is dealt behind it, they stay as they were until OK.
    void ShowMessage(const QString& text, const ResultFigures& figures = {});
    QString message() const;
    // The figures as a player reads them, cell after cell ("... Totals 120 85 ...").
    QString figuresText() const;
    QPushButton* okButton() const { return okButton_; }

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    QLabel* label1_;
    QLabel* figuresLabel_;
    QPushButton* okButton_;
};

}  // namespace kelvane
