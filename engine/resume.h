// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <cstdint>
#include <deque>
#include <optional>
#include <string>
#include <string_view>

#include "wire/wire.h"

namespace kelvane {

// Where a session's secret and its proofs come from: the system's random source and keyed hash
// in the programs (SystemSecrets, credential.h), a stand-in that gives the same bytes every run
// where a test wants them, as the shuffle's source does.
class Secrets {
  public:
    virtual ~Secrets() = default;
    // kKeyDigits hexadecimal digits: a half of the secret, or a challenge.
    virtual std::string RandomKey() = 0;
    // The keyed hash of the challenge and the caller's counts under the secret (the server's
    // half, then the client's), as kProofDigits hexadecimal digits.
    virtual std::string Mac(std::string_view serverKey, std::string_view clientKey,
                            std::string_view challenge, long applied, long sent) = 0;
};

// What a session with a Kelvane opponent keeps so that a dropped connection resumes where it
// stopped: the counted messages each way and ours he has not confirmed, the session's secret and
// its identifier. It touches no socket and no screen: the session says when, this says what.
class Resume {
  public:
    explicit Resume(Secrets& secrets) : secrets_(secrets) {}

    // A new session: nothing counted, kept or known.
    void Clear();

    // One of our counted messages went out, framed: kept until the opponent confirms it.
    void Sent(std::string frame);
    // One of his counted messages was applied.
    void Applied() { ++applied_; }
    long sent() const { return sent_; }
    long applied() const { return applied_; }
    // He has applied our first `theirApplied` counted messages: they need no keeping.
    void Confirmed(long theirApplied);
    // He is no Kelvane program: nothing is kept for him.
    void StopKeeping();
    // Ours he has not confirmed, oldest first, framed.
    const std::deque<std::string>& kept() const { return kept_; }
    // Whether a resume at his counts (ours he applied, his he sent) can go on from what we kept.
    bool Fits(long theirApplied, long theirSent) const;

    // Our half of the secret, made at first need; his, as his announcement told it.
    const std::string& OurKey();
    void TakeTheirKey(std::string key) { theirKey_ = std::move(key); }
    bool KnowsTheirKey() const { return !theirKey_.empty(); }
    // The server: a fresh challenge, and whether a caller's proof answers it.
    std::string NewChallenge() { return secrets_.RandomKey(); }
    bool Proves(const Proof& proof, std::string_view challenge) const;
    // The client: the proof that answers the server's challenge, at our counts.
    Proof Answer(std::string_view challenge) const;

    // A session is known by its first deal: both programs hold it, and another game's first
    // deal is a different order of 52 cards. The identifier names the game; it proves nothing.
    void NoteDeal(std::string_view dealMessage);
    std::optional<std::uint64_t> game() const { return game_; }

  private:
    Secrets& secrets_;
    long sent_ = 0, applied_ = 0;
    std::deque<std::string> kept_;
    long firstKept_ = 1;  // the number of the oldest kept
    bool keeping_ = true;
    std::string ourKey_, theirKey_;
    std::optional<std::uint64_t> game_;
};

}  // namespace kelvane
