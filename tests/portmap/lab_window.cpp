// SPDX-License-Identifier: GPL-3.0-or-later
// The game's window as the program runs it, serving as soon as it is shown, for the router lab
// (router_lab.sh): it writes what the router answered on standard error, line by line as each door
// answers, then ends as the lab
// asks once the file GO exists: "quit GO" chooses File > Quit, "no GO" answers No to a
// program-error report; "wait" (the default) waits for a signal.

#include <QAction>
#include <QApplication>
#include <QFile>
#include <QMessageBox>
#include <QPushButton>
#include <QRegularExpression>
#include <QTimer>
#include <iostream>
#include <string>

#include "engine/report_error.h"
#include "ui/form1.h"
#include "ui/run_window.h"

namespace {

void End(kelvane::Form1& window, const std::string& how) {
    if (how == "quit") window.action("mnuQuit")->trigger();
    if (how != "no") return;
    // The player reads the report and answers No, as soon as the box is up.
    auto* answer = new QTimer(&window);
    QObject::connect(answer, &QTimer::timeout, [] {
        if (auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget()))
            box->button(QMessageBox::No)->click();
    });
    answer->start(50);
    kelvane::ErrorReporter(window).ReportError(
        "mnuServer_Click", kelvane::Failure(kelvane::kInternalError, "the router lab's failure"));
}

}  // namespace

int main(int argc, char** argv) {
    const std::string how = argc > 1 ? argv[1] : "wait";
    const QString go = argc > 2 ? argv[2] : "";
    return kelvane::RunKelvaneWindow(argc, argv, [how, go](QWidget& widget) {
        auto& window = static_cast<kelvane::Form1&>(widget);
        // As a player does: once the window's first layouts are done.
        QTimer::singleShot(300, &window, [&window] { window.action("mnuServer")->trigger(); });
        auto* watch = new QTimer(&window);
        QObject::connect(watch, &QTimer::timeout, &window,
                         [&window, watch, how, go, shown = 0]() mutable {
                             // Each door's answer, and what they come to once both have answered.
                             static const QRegularExpression told("router|Players in other homes");
                             const QStringList lines = window.historyLines().filter(told);
                             for (; shown < lines.size(); ++shown)
                                 std::cerr << "router: " << lines[shown].toStdString() << std::endl;
                             if (shown == 0 || go.isEmpty() || !QFile::exists(go)) return;
                             watch->stop();
                             End(window, how);
                         });
        watch->start(100);
    });
}
