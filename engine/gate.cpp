// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/gate.h"

#include <utility>

#include "engine/steps.h"

namespace kelvane {

void Gate::Enter(const std::function<void()>& handler) {
    if (ended_) return;
    ++depth_;
    try {
        handler();
        after_();
    } catch (const ProgramEnded&) {
        --depth_;
        ended_ = true;
        throw;
    }
    --depth_;
    if (depth_ == 0) HearWaiting();
}

bool Gate::Hold(Waiting& waiting, int socket) {
    if (depth_ == 0) return false;
    waiting[static_cast<std::size_t>(socket)] = true;
    return true;
}

void Gate::Forget(int socket) {
    arrivals_[static_cast<std::size_t>(socket)] = false;
    closes_[static_cast<std::size_t>(socket)] = false;
}

void Gate::ForgetAll() {
    arrivals_.fill(false);
    closes_.fill(false);
}

void Gate::HearWaiting() {
    for (bool more = true; more && !ended_;) {
        more = false;
        for (int index = 0; index < kSockets && !ended_; ++index) {
            if (!std::exchange(arrivals_[static_cast<std::size_t>(index)], false)) continue;
            more = true;
            arrival_(index);
        }
        // A close is heard once everything its socket sent before it has been applied.
        for (int index = 0; !more && index < kSockets && !ended_; ++index) {
            if (!std::exchange(closes_[static_cast<std::size_t>(index)], false)) continue;
            more = true;
            close_(index);
        }
    }
}

}  // namespace kelvane
