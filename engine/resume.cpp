// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/resume.h"

#include <utility>

#include "engine/credential.h"
#include "game/state_digest.h"

namespace kelvane {

void Resume::Clear() {
    sent_ = applied_ = 0;
    kept_.clear();
    firstKept_ = 1;
    keeping_ = true;
    ourKey_.clear();
    theirKey_.clear();
    game_.reset();
}

void Resume::Sent(std::string frame) {
    ++sent_;
    if (keeping_) kept_.push_back(std::move(frame));
}

void Resume::Confirmed(long theirApplied) {
    while (!kept_.empty() && firstKept_ <= theirApplied) {
        kept_.pop_front();
        ++firstKept_;
    }
}

void Resume::StopKeeping() {
    keeping_ = false;
    kept_.clear();
}

bool Resume::Fits(long theirApplied, long theirSent) const {
    return theirApplied <= sent_ && theirApplied >= firstKept_ - 1 && theirSent >= applied_;
}

const std::string& Resume::OurKey() {
    if (ourKey_.empty()) ourKey_ = secrets_.RandomKey();
    return ourKey_;
}

bool Resume::Proves(const Proof& proof, std::string_view challenge) const {
    return SameProof(proof.mac,
                     secrets_.Mac(ourKey_, theirKey_, challenge, proof.applied, proof.sent));
}

Proof Resume::Answer(std::string_view challenge) const {
    Proof proof{applied_, sent_, ""};
    proof.mac = secrets_.Mac(theirKey_, ourKey_, challenge, proof.applied, proof.sent);
    return proof;
}

void Resume::NoteDeal(std::string_view dealMessage) {
    if (!game_) game_ = Fnv1a(dealMessage);
}

}  // namespace kelvane
