// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <optional>

#include "engine/ports.h"
#include "game/game_state.h"
#include "wire/wire.h"

namespace kelvane {

// The digests two Kelvane programs compare so that a game that drifted apart ends with the player
// told, instead of going on as two different games: one at every round's end, and one of the
// whole game once a resumed connection has caught up.
class Digests {
  public:
    void Clear() { *this = Digests{}; }

    // Our digest of the round just scored, after `applied` of the opponent's messages; kept to
    // compare with his.
    RoundDigest Scored(const GameState& state, long applied);
    // His digest of the same round: the fault when the two disagree.
    std::optional<PeerFault> Compare(const RoundDigest& theirs) const;
    // His digest after a resume, made after `theirs.applied` of our messages and `theirs.sent` of
    // his own: compared only when this side stands at that very point. Otherwise more has
    // happened since on one side, and the other side's comparison, or the next round's digest,
    // is the one that counts.
    static std::optional<PeerFault> Compare(const Sync& theirs, const GameState& state,
                                            long applied, long sent);

    // After a resume: our digest goes out once we have applied all he says he sent.
    void SyncAt(long theirSent) { syncAt_ = theirSent; }
    void NoSync() { syncAt_.reset(); }
    std::optional<Sync> SyncDue(const GameState& state, long applied, long sent);

  private:
    long rounds_ = 0;  // rounds scored in this session
    std::optional<RoundDigest> lastRound_;
    std::optional<long> syncAt_;
};

}  // namespace kelvane
