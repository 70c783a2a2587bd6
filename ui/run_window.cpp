#include "ui/run_window.h"

#include <QApplication>
#include <QIcon>

#include "qtnet/qt_socket.h"
#include "ui/deck.h"
#include "ui/form1.h"

namespace kelvane {

int RunKelvaneWindow(int argc, char** argv, const std::function<void(QWidget&)>& beforeShow) {
    QApplication app(argc, argv);
    QApplication::setApplicationName("Kelvane");
    // Lets a desktop match the window to its menu entry, and so to the installed icon.
    QApplication::setDesktopFileName("org.kelvane.kelvane");
    // The icon is a resource of the program that runs the window.
    QApplication::setWindowIcon(QIcon(":/kelvane.svg"));
    Deck deck;
    QtSocket socket;
    Form1 window(socket, deck);
    if (beforeShow) beforeShow(window);
    window.show();
    return QApplication::exec();
}

}  // namespace kelvane
