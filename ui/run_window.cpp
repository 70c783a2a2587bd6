// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/run_window.h"

#include <QApplication>
#include <QEvent>
#include <QIcon>
#include <QPointer>

#include "ui/deck.h"
#include "ui/fonts.h"
#include "ui/form1.h"
#include "ui/lazy_socket.h"

namespace kelvane {

namespace {

// Drawing the icon from its SVG takes a noticeable share of start-up, and the first frame does
// not need it: the window takes its icon as soon as that frame is painted, and the desktop shows
// it a moment later.
class IconAfterFirstFrame : public QObject {
  public:
    explicit IconAfterFirstFrame(QWidget& window) : window_(&window) {
        window.installEventFilter(this);
    }

    bool eventFilter(QObject* watched, QEvent* event) override {
        if (event->type() == QEvent::Paint && window_) {
            window_->removeEventFilter(this);
            window_ = nullptr;
            // After the frame: the painting under way is finished first.
            QMetaObject::invokeMethod(
                this,
                // The icon is a resource of the program that runs the window.
                [] { QApplication::setWindowIcon(QIcon(":/kelvane.svg")); }, Qt::QueuedConnection);
        }
        return QObject::eventFilter(watched, event);
    }

  private:
    QPointer<QWidget> window_;
};

}  // namespace

void UseTheWindowsFace() {
    if (const double points = QApplication::font().pointSizeF(); points > 0)
        QApplication::setFont(DesignFont(points));
}

int RunKelvaneWindow(int argc, char** argv, const std::function<void(QWidget&)>& beforeShow) {
    QApplication app(argc, argv);
    QApplication::setApplicationName("Kelvane");
    // Lets a desktop match the window to its menu entry, and so to the installed icon.
    QApplication::setDesktopFileName("org.kelvane.kelvane");
    UseTheWindowsFace();
    Deck deck;
    LazySocket socket(LazySocket::DefaultModules());
    Form1 window(socket, deck);
    const IconAfterFirstFrame icon(window);
    if (beforeShow) beforeShow(window);
    window.show();
    return QApplication::exec();
}

}  // namespace kelvane
