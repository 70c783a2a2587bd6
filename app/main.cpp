#include <QApplication>
#include <QIcon>

#include "qtnet/qt_socket.h"
#include "ui/deck.h"
#include "ui/first_paint_probe.h"
#include "ui/form1.h"

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QApplication::setApplicationName("Kelvane");
    QApplication::setWindowIcon(QIcon(":/kelvane.svg"));
    kelvane::Deck deck;
    kelvane::QtSocket socket;
    kelvane::Form1 window(socket, deck);
    kelvane::FirstPaintProbe probe(window);
    window.show();
    return QApplication::exec();
}
