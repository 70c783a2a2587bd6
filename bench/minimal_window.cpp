// SPDX-License-Identifier: GPL-3.0-or-later
#include <QApplication>
#include <QMainWindow>
#include <QMenuBar>
#include <QWidget>

#include "first_paint_probe.h"
#include "ui/geometry.h"

// The yardstick for Kelvane's start-up: the least a Qt Widgets program does before its first
// frame, a main window of the game's size with a menu bar. bench/startup.sh starts both, each
// leaving after its first paint, and compares the times.

int main(int argc, char* argv[]) {
    QApplication app(argc, argv);
    QMainWindow window;
    window.setWindowTitle("Minimal window");
    QMenu* file = window.menuBar()->addMenu("File");
    QObject::connect(file->addAction("Quit"), &QAction::triggered, &window, &QWidget::close);
    window.menuBar()->addMenu("Options")->addAction("Option")->setCheckable(true);
    window.menuBar()->addMenu("Help")->addAction("About");
    window.setCentralWidget(new QWidget(&window));
    // The game's design size: its client area in twips, plus the menu bar.
    window.resize(kelvane::Px(11490), kelvane::Px(8715) + window.menuBar()->sizeHint().height());
    kelvane::FirstPaintProbe probe(window);
    window.show();
    return QApplication::exec();
}
