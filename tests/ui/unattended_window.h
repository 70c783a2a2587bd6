// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <QAction>
#include <cstdlib>
#include <string>
#include <utility>
#include <vector>

#include "ui/form1.h"

namespace kelvane::test {

// The real window with a player who answers every box with Yes or OK, names 127.0.0.1 as the
// server and does not sit through the one-second holds. Everything else is the program's own.
class UnattendedWindow : public Form1 {
  public:
    // Tests talk to no router but the lab's: the window is told to leave it alone.
    template <typename... Args>
    explicit UnattendedWindow(Args&&... args) : Form1(std::forward<Args>(args)...) {
        action("mnuOpenRouter")->setChecked(std::getenv("KELVANE_LAB_OUTSIDE") != nullptr);
    }

    bool ShowBox(const BoxText& box) override {
        boxes.push_back(box.text);
        return true;
    }
    std::string AskHost() override { return "127.0.0.1"; }
    void Pause(int) override {}
    bool AskToContinue(const std::string& text) override {
        failures.push_back(text);
        return true;
    }

    std::vector<std::string> boxes;
    std::vector<std::string> failures;
};

}  // namespace kelvane::test
