// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/digests.h"

#include "game/scoring.h"
#include "game/state_digest.h"

namespace kelvane {

namespace {

// The digest is always made from the server's seat, so both programs make the same one.
Seat ServerSeat(const GameState& state) {
    return state.Role == kRoleServer ? Seat::kLocal : Seat::kRemote;
}

}  // namespace

RoundDigest Digests::Scored(const GameState& state, long applied) {
    const bool server = state.Role == kRoleServer;
    RoundDigest d;
    d.applied = applied;
    d.round = ++rounds_;
    d.serverTotal = (server ? state.LocalScore : state.RemoteScore).value();
    d.clientTotal = (server ? state.RemoteScore : state.LocalScore).value();
    d.deals = state.GamesPlayed.value();
    // A decided game starts again from its first deal, which the client opens.
    const bool decided = GameOver(state).has_value();
    d.opener = decided || d.deals % 2 == 0 ? 'C' : 'S';
    d.table = StateDigest(state, ServerSeat(state));
    lastRound_ = d;
    return d;
}

std::optional<PeerFault> Digests::Compare(const RoundDigest& theirs) const {
    if (lastRound_ && lastRound_->Agrees(theirs)) return std::nullopt;
    PeerFault fault = PeerFault::Of(PeerFaultKind::kDisagree);
    fault.here = lastRound_.value_or(RoundDigest{});
    fault.there = theirs;
    return fault;
}

std::optional<PeerFault> Digests::Compare(const Sync& theirs, const GameState& state, long applied,
                                          long sent) {
    if (theirs.sent != applied || theirs.applied != sent) return std::nullopt;
    if (StateDigest(state, ServerSeat(state)) == theirs.state) return std::nullopt;
    return PeerFault::Of(PeerFaultKind::kDisagree);
}

std::optional<Sync> Digests::SyncDue(const GameState& state, long applied, long sent) {
    if (!syncAt_ || applied < *syncAt_) return std::nullopt;
    syncAt_.reset();
    return Sync{applied, sent, StateDigest(state, ServerSeat(state))};
}

}  // namespace kelvane
