// SPDX-License-Identifier: GPL-3.0-or-later
#include "ui/run_window.h"

int main(int argc, char* argv[]) {
    return kelvane::RunKelvaneWindow(argc, argv);
}
