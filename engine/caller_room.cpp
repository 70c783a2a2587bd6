// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/caller_room.h"

#include <algorithm>
#include <utility>

namespace kelvane {

namespace {

// The caller who came first among those `pick` takes, or none.
template <typename Pick>
std::vector<CallerRoom::Caller>::iterator Oldest(std::vector<CallerRoom::Caller>& callers,
                                                 Pick pick) {
    auto oldest = callers.end();
    for (auto it = callers.begin(); it != callers.end(); ++it)
        if (pick(*it) && (oldest == callers.end() || it->order < oldest->order)) oldest = it;
    return oldest;
}

}  // namespace

std::optional<int> CallerRoom::FreeSocket(int busy) const {
    for (int socket = kFirstCallerSocket; socket < kFirstCallerSocket + kCallerSockets; ++socket)
        if (socket != busy && !On(socket)) return socket;
    return std::nullopt;
}

int CallerRoom::OldestSocket() const {
    return std::min_element(callers_.begin(), callers_.end(),
                            [](const Caller& a, const Caller& b) { return a.order < b.order; })
        ->socket;
}

std::optional<int> CallerRoom::Admit(int socket, const std::string& address,
                                     std::string challenge) {
    std::optional<int> leaving;
    const auto sameAddress = [&](const Caller& c) { return c.address == address; };
    if (std::count_if(callers_.begin(), callers_.end(), sameAddress) >= kPerAddress) {
        leaving = Oldest(callers_, sameAddress)->socket;
        Forget(*leaving);
    }
    Caller caller;
    caller.socket = socket;
    caller.address = address;
    caller.challenge = std::move(challenge);
    caller.order = ++arrivals_;
    callers_.push_back(std::move(caller));
    return leaving;
}

CallerRoom::Caller* CallerRoom::On(int socket) {
    for (Caller& c : callers_)
        if (c.socket == socket) return &c;
    return nullptr;
}

const CallerRoom::Caller* CallerRoom::On(int socket) const {
    for (const Caller& c : callers_)
        if (c.socket == socket) return &c;
    return nullptr;
}

void CallerRoom::Forget(int socket) {
    std::erase_if(callers_, [socket](const Caller& c) { return c.socket == socket; });
}

std::vector<int> CallerRoom::Tick() {
    std::vector<int> expired;
    for (Caller& c : callers_)
        if (--c.ticksLeft <= 0) expired.push_back(c.socket);
    for (int socket : expired) Forget(socket);
    return expired;
}

std::vector<int> CallerRoom::Clear() {
    std::vector<int> sockets;
    for (const Caller& c : callers_) sockets.push_back(c.socket);
    callers_.clear();
    return sockets;
}

}  // namespace kelvane
