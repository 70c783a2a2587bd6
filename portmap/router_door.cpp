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

}  // namespace kelvane
