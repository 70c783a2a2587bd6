// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>
#include <string>

#include "engine/caller_room.h"
#include "engine/ports.h"
#include "engine/resume.h"
#include "wire/wire.h"

namespace kelvane {

// The server's door while its game may be waiting for its own client: whoever knocks is let in on
// a socket of his own and challenged, and nothing he says reaches the game before he has a claim
// on it. Whoever cannot prove himself is closed without a word and learns nothing of the game.
class CallerDesk {
  public:
    // A caller with a claim on the game: the client that left, proved, or a Kelvane program
    // starting a new session, which the player may take.
    struct Claim {
        int socket = 0;
        long order = 0;
        std::string address;
        std::optional<Proof> proof;
        Hello hello;
    };

    CallerDesk(Socket& socket, Resume& resume) : socket_(socket), resume_(resume) {}

    // A caller knocks; he gets a free caller socket other than `busy` (the game's connection).
    // A full room makes way for him by turning away the oldest caller; one address holds only
    // its share, so a stranger knocking without end only replaces his own earlier knocks.
    void Admit(long requestId, int busy);
    // Bytes arrived on a caller socket: false when nobody is held there (then they are dropped).
    bool Read(int socket);
    // The next claim among what the caller on `socket` sent; whatever else he says turns him
    // away. None once nothing whole is left or he is gone.
    std::optional<Claim> Next(int socket);
    // Whether the caller who made `claim` is still there, after the player was asked about him.
    bool Holds(const Claim& claim);
    // The caller leaves the room for the game's connection: what he sent and not yet cut goes
    // with him.
    CallerRoom::Caller Release(int socket);
    // The caller on `socket`, if any, is closed without a word.
    void TurnAway(int socket);
    // About once a second: callers who have not proved themselves in time are turned away.
    void Tick();
    void CloseAll();

  private:
    Socket& socket_;
    Resume& resume_;
    CallerRoom room_;
};

}  // namespace kelvane
