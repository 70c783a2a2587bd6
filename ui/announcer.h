// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QLabel>

namespace kelvane {

// Speaks a line to a screen reader without taking the focus from the player: a live line whose
// text is the news and which raises an alert as it changes (this Qt has no announcement of its
// own). It is drawn nowhere; the move history keeps the line for the eyes.
class Announcer : public QLabel {
    Q_OBJECT

  public:
    explicit Announcer(QWidget* parent);
    void Announce(const QString& text);
};

// Names the window's frames and the scores' box as a screen reader says them.
void NameTheFrames(QWidget* window);

}  // namespace kelvane
