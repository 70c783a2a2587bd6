// SPDX-License-Identifier: GPL-3.0-or-later
#include "portmap/router_door.h"

#include "portmap/address.h"

namespace kelvane {

RouterDoor::RouterDoor(int port, Tell tell)
    : tell_(std::move(tell)), worker_([this, port] { Run(port); }) {}

RouterDoor::~RouterDoor() {
    {
        const std::lock_guard lock(mutex_);
        closing_ = true;
    }
    wake_.notify_all();
    worker_.join();
}

void RouterDoor::Run(int port) {
    const Granted granted =
        AskRouter(port, kLeaseSeconds, std::chrono::steady_clock::now() + kRouterBound);
    Mapping held = granted.mapping;
    // A mapping to an address nobody outside can reach exposes the port for nothing.
    if (granted.report.outcome == DoorOutcome::kShared) {
        GiveBack(held);
        held = {};
    }
    tell_(granted.report);
    std::unique_lock lock(mutex_);
    while (held.by != Mapping::By::kNone && !closing_) {
        if (wake_.wait_for(lock, std::chrono::seconds(kLeaseSeconds / 2),
                           [this] { return closing_; }))
            break;
        lock.unlock();
        RenewMapping(held, kLeaseSeconds);
        lock.lock();
    }
    lock.unlock();
    GiveBack(held);
}

std::string DoorSentence(const DoorReport& r) {
    const std::string address = FormatServerAddress(r.outsideAddress, r.outsidePort);
    switch (r.outcome) {
        case DoorOutcome::kOpen:
            if (r.outsidePort != r.insidePort)
                return "The router's port " + std::to_string(r.insidePort) +
                       " is another machine's, so it forwards port " +
                       std::to_string(r.outsidePort) + ": players in other homes connect to " +
                       address + ".";
            return "The router forwards the game's port: players in other homes connect to " +
                   address + ".";
        case DoorOutcome::kShared:
            return "The router's own outside address " + r.outsideAddress +
                   " is private or shared (a second router or the provider's), so players "
                   "outside cannot reach this machine this way.";
        case DoorOutcome::kRefused:
            return "The router refused to forward the game's port; players on this network can "
                   "still connect.";
        case DoorOutcome::kNoAnswer:
            break;
    }
    return "No router answered the request to forward the game's port; players on this network "
           "can still connect.";
}

}  // namespace kelvane
