// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <functional>

class QWidget;

namespace kelvane {

// The game as a program: the application, the card pictures, the socket and the window, shown
// and run until the player quits. `beforeShow` is handed the window before its first showing.
int RunKelvaneWindow(int argc, char** argv, const std::function<void(QWidget&)>& beforeShow = {});

// The whole program in the window's face, at the size the desktop asks for: the menus, boxes and
// welcome read like the table, and the first frame has one face to find and draw, not two. Needs
// the application object.
void UseTheWindowsFace();

}  // namespace kelvane
