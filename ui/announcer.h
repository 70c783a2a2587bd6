// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QStringList>
#include <QWidget>

namespace kelvane {

// One piece of news for a screen reader: a notification whose name is the news. It is shown once,
// and a screen reader speaks a notification as it appears; its name never changes, so a reader
// that gets to it late still reads what it said.
class SpokenNews : public QWidget {
    Q_OBJECT

  public:
    SpokenNews(const QString& text, QWidget* parent);
};

// Speaks the game's news to a screen reader without taking the focus from the player: the
// opponent's moves, the card drawn, whose turn it is, the results and the opponent's chat. This
// Qt has no announcement of its own, and a reader speaks neither a label's new name nor a line
// added to the history unless it holds the focus; a notification that appears it speaks at once.
// Lines given while one handler runs (the opponent's draw, his discard and the turn that follows)
// become one notice once it returns, so the last does not cut the first short. It is drawn
// nowhere; the move history and the status line keep the news for the eyes.
class Announcer : public QWidget {
    Q_OBJECT

  public:
    explicit Announcer(QWidget* parent);
    void Announce(const QString& text);
    // Whose turn it is and what is left to do: told after the news that led to it, and only as it
    // stands when told.
    void AnnounceTurn(const QString& text);
    // Speaks what was given so far; by itself, once the handler that gave it has returned.
    void Flush();
    // A new game: the notices of the last one go. News not yet spoken, the last game's result
    // among it, is still spoken.
    void Clear();
    // What a reader finds among the notices, oldest first.
    QStringList notices() const;

  private:
    void AskFlush();

    QStringList pending_;
    QString turn_;
    bool flushAsked_ = false;
};

// Names the window's frames and the scores' box as a screen reader says them.
void NameTheFrames(QWidget* window);

}  // namespace kelvane
