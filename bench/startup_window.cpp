// SPDX-License-Identifier: GPL-3.0-or-later
#include <QWidget>
#include <optional>

#include "first_paint_probe.h"
#include "ui/run_window.h"

// The game's window as the program runs it, leaving right after its first frame: what
// bench/startup.sh times beside kelvane_minimal_window.

int main(int argc, char* argv[]) {
    std::optional<kelvane::FirstPaintProbe> probe;
    return kelvane::RunKelvaneWindow(argc, argv,
                                     [&probe](QWidget& window) { probe.emplace(window); });
}
