// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "engine/ports.h"
#include "wire/wire.h"

namespace kelvane {

// The callers a server holds while it waits for its own client to come back to the game: each on
// a connection of his own, with his own challenge, and a few ticks to prove he is that client. A
// stranger who knocks without end only ever replaces his own earlier knocks, so the client who
// calls from another address keeps his place until he has answered.
class CallerRoom {
  public:
    // Ticks come about once a second: a caller has this many to answer his challenge, more than
    // a slow line's round trip and far less than a player notices.
    static constexpr int kTicksToAnswer = 4;
    // Callers held at once from one address; the oldest of them leaves for a newer one.
    static constexpr int kPerAddress = 2;

    struct Caller {
        int socket = 0;
        std::string address;    // as the socket tells it; empty when it cannot
        std::string challenge;  // his alone, made fresh for him
        int ticksLeft = kTicksToAnswer;
        long order = 0;      // who came first
        FrameReader reader;  // what he sent, not yet cut into messages
    };

    // A caller socket nobody holds, other than `busy` (the server's connection, which may be one
    // of them), or none when the room is full.
    std::optional<int> FreeSocket(int busy) const;
    // The socket of the caller who came first; the room is not empty.
    int OldestSocket() const;
    // A new caller, accepted on `socket`. When his address already holds its share of the room,
    // the oldest of those callers leaves for him: his socket is returned, for the table to close.
    std::optional<int> Admit(int socket, const std::string& address, std::string challenge);

    // The caller on this socket, or none.
    Caller* On(int socket);
    const Caller* On(int socket) const;
    void Forget(int socket);
    // One tick: the callers whose time ran out are forgotten and their sockets returned.
    std::vector<int> Tick();
    // Everyone leaves; their sockets are returned.
    std::vector<int> Clear();
    bool empty() const { return callers_.empty(); }

    static bool IsCallerSocket(int socket) {
        return socket >= kFirstCallerSocket && socket < kFirstCallerSocket + kCallerSockets;
    }

  private:
    std::vector<Caller> callers_;
    long arrivals_ = 0;
};

}  // namespace kelvane
