// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QCoreApplication>
#include <QEvent>
#include <QWidget>
#include <cstdlib>

namespace kelvane {

// Start-up is timed to the first painted window (bench/startup.sh): a program with the probe on
// its window leaves as soon as that window's first frame is drawn.
class FirstPaintProbe : public QObject {
  public:
    explicit FirstPaintProbe(QWidget& window) { window.installEventFilter(this); }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint && !queued_) {
            queued_ = true;
            // Queued, so the controls of the same frame are drawn and the frame is shown first;
            // tearing the window down is not start-up, so nothing is torn down.
            QMetaObject::invokeMethod(
                qApp, [] { std::_Exit(EXIT_SUCCESS); }, Qt::QueuedConnection);
        }
        return QObject::eventFilter(watched, event);
    }

  private:
    bool queued_ = false;
};

}  // namespace kelvane
