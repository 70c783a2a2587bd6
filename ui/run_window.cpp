// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/run_window.h"

#include <fcntl.h>
#include <unistd.h>

#include <QApplication>
#include <QEvent>
#include <QIcon>
#include <QPointer>
#include <QSocketNotifier>
#include <csignal>
#include <memory>

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

// A signal handler may only write a byte; the event loop reads it and ends the window there,
// where destructors and the router's give-back can run.
int endPipe[2] = {-1, -1};

void OnEndSignal(int) {
    const char byte = 1;
    [[maybe_unused]] const auto written = write(endPipe[1], &byte, 1);
}

// Closing the terminal, the desktop's session ending, Ctrl+C and a plain kill each end the game
// as its Quit does: the opponent hears a quit and the router takes its port back.
void EndOnSignals(Form1& window) {
    if (pipe2(endPipe, O_CLOEXEC) != 0) return;
    auto* notifier = new QSocketNotifier(endPipe[0], QSocketNotifier::Read, &window);
    QObject::connect(notifier, &QSocketNotifier::activated, &window, [&window, notifier] {
        notifier->setEnabled(false);
        window.EndAsQuit();
    });
    struct sigaction action {};
    action.sa_handler = OnEndSignal;
    sigemptyset(&action.sa_mask);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) sigaction(signal, &action, nullptr);
}

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
    auto window = std::make_unique<Form1>(socket, deck);
    const IconAfterFirstFrame icon(*window);
    EndOnSignals(*window);
    if (beforeShow) beforeShow(*window);
    window->show();
    const int code = QApplication::exec();
    // Already leaving: another signal ends the game at once, so that nothing on its way out can
    // outlive a second request to stop.
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) std::signal(signal, SIG_DFL);
    window.reset();
    // The threads giving the router's port back end with the process: they get their bound.
    socket.AwaitRouterGiveBacks();
    return code;
}

}  // namespace kelvane
