// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <array>
#include <functional>

#include "engine/ports.h"

namespace kelvane {

// The one way into the engine. Every entry point (a click, a menu command, a socket event) runs
// through it and it counts how deep handlers are nested: data or a close arriving while a handler
// runs, also while it shows a modal box, is held on its socket and heard, one socket event at a
// time, once the outermost handler returns. So no message is ever applied half-way through
// another.
class Gate {
  public:
    // `arrival` and `close` hear a held socket event again; `after` runs after every handler
    // (the whole-state check of debug builds).
    Gate(std::function<void(int)> arrival, std::function<void(int)> close,
         std::function<void()> after)
        : arrival_(std::move(arrival)), close_(std::move(close)), after_(std::move(after)) {}

    // Runs `handler` as an entry point, unless the program has been told to end.
    void Enter(const std::function<void()>& handler);
    // While a handler runs, the socket's data or close waits; true when it was held.
    bool HoldArrival(int socket) { return Hold(arrivals_, socket); }
    bool HoldClose(int socket) { return Hold(closes_, socket); }
    // What a socket had waiting is nobody's any more: it was closed or handed on.
    void Forget(int socket);
    void ForgetAll();

    // The program has been told to end: nothing more enters.
    bool ended() const { return ended_; }
    void End() { ended_ = true; }

  private:
    using Waiting = std::array<bool, kSockets>;
    bool Hold(Waiting& waiting, int socket);
    void HearWaiting();

    std::function<void(int)> arrival_, close_;
    std::function<void()> after_;
    int depth_ = 0;
    bool ended_ = false;
    Waiting arrivals_{}, closes_{};
};

}  // namespace kelvane
