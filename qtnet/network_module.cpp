// SPDX-License-Identifier: GPL-3.0-or-later
// The entry of the window's network side (kelvane-network.so): one new socket for each call, owned
// by the caller.

#include "qtnet/window_side.h"

extern "C" __attribute__((visibility("default"))) kelvane::WindowSocket* kelvane_new_socket() {
    return new kelvane::WindowSide;
}
