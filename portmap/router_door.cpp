// SPDX-License-Identifier: GPL-3.0-or-later
#include "portmap/router_door.h"

#include <condition_variable>
#include <mutex>
#include <thread>
#include <utility>

namespace kelvane {

namespace {

using Clock = std::chrono::steady_clock;

// Doors destroyed whose thread has not yet given the port back. Never destroyed: those threads
// may still be running while the program's statics go.
struct GivingBack {
    std::mutex mutex;
    std::condition_variable done;
    int pending = 0;
};

GivingBack& Pending() {
    static auto* pending = new GivingBack;
    return *pending;
}

// One door of a family at a time talks to the router, so that a door opened right after another
// was closed asks only once the old one's port is given back, and the giving back cannot delete
// the new forwarding of the same port. A pinhole and a forwarding never touch each other, so the
// two families ask at once. Never waited for longer than the give-back's bound: a router that
// does not answer the old door does not hold up the new one for ever.
class RouterTurn {
  public:
    explicit RouterTurn(DoorFamily family) : family_(family) {
        Turns& turns = Everyone(family_);
        std::unique_lock lock(turns.mutex);
        taken_ = turns.free.wait_for(lock, kGiveBackBound, [&turns] { return !turns.busy; });
        if (taken_) turns.busy = true;
    }
    ~RouterTurn() {
        if (!taken_) return;
        Turns& turns = Everyone(family_);
        {
            const std::lock_guard lock(turns.mutex);
            turns.busy = false;
        }
        turns.free.notify_one();
    }
    RouterTurn(const RouterTurn&) = delete;
    RouterTurn& operator=(const RouterTurn&) = delete;

  private:
    struct Turns {
        std::mutex mutex;
        std::condition_variable free;
        bool busy = false;
    };
    // Never destroyed, as the give-backs' count.
    static Turns& Everyone(DoorFamily family) {
        static auto* turns = new Turns[2];
        return turns[family == DoorFamily::kIPv6 ? 1 : 0];
    }

    DoorFamily family_;
    bool taken_ = false;
};

}  // namespace

RouterCalls FirewallCalls(const std::string& address) {
    RouterCalls calls;
    calls.ask = [address](int port, int leaseSeconds, Clock::time_point deadline) {
        return AskFirewall(address, port, leaseSeconds, deadline);
    };
    calls.family = DoorFamily::kIPv6;
    return calls;
}

struct RouterDoor::Shared {
    std::mutex mutex;
    std::condition_variable wake;
    bool closing = false;
    bool counted = false;   // among the pending give-backs
    bool finished = false;  // the thread has done everything it will do
    Tell tell;
    RouterCalls calls;
    LeaseTimes times;

    // Under the mutex: nothing is told once the door is destroyed.
    void TellLocked(const DoorReport& report) {
        if (!closing && tell) tell(report);
    }
};

namespace {

void Finish(RouterDoor::Shared& s) {
    const std::lock_guard lock(s.mutex);
    s.finished = true;
    if (!s.counted) return;
    GivingBack& pending = Pending();
    const std::lock_guard lockPending(pending.mutex);
    --pending.pending;
    pending.done.notify_all();
}

// Renews the lease while the door stands; false when the router stopped renewing it.
bool KeepOpen(RouterDoor::Shared& s, const Mapping& held) {
    std::unique_lock lock(s.mutex);
    int failures = 0;
    while (!s.closing) {
        const auto wait = failures == 0 ? s.times.renewAfter : s.times.retryAfter;
        if (s.wake.wait_for(lock, wait, [&s] { return s.closing; })) break;
        lock.unlock();
        const bool renewed = s.calls.renew(held, s.times.leaseSeconds);
        lock.lock();
        failures = renewed ? 0 : failures + 1;
        if (failures > s.times.retries) return false;
    }
    return true;
}

void Run(const std::shared_ptr<RouterDoor::Shared>& s, int port) {
    Granted granted;
    {
        const RouterTurn turn(s->calls.family);
        granted = s->calls.ask(port, s->times.leaseSeconds, Clock::now() + kRouterBound);
        // Whatever is not a door players outside can use exposes the port for nothing.
        if (granted.report.outcome != DoorOutcome::kOpen &&
            granted.mapping.by != Mapping::By::kNone) {
            s->calls.giveBack(granted.mapping);
            granted.mapping = {};
        }
        const std::lock_guard lock(s->mutex);
        s->TellLocked(granted.report);
    }
    if (granted.mapping.by != Mapping::By::kNone && !KeepOpen(*s, granted.mapping)) {
        DoorReport lost = granted.report;
        lost.outcome = DoorOutcome::kLost;
        const std::lock_guard lock(s->mutex);
        s->TellLocked(lost);
    }
    if (granted.mapping.by != Mapping::By::kNone) {
        // Also after a lost lease: the router may still hold what it would not renew.
        const RouterTurn turn(s->calls.family);
        s->calls.giveBack(granted.mapping);
    }
    Finish(*s);
}

}  // namespace

RouterDoor::RouterDoor(int port, Tell tell, RouterCalls calls, LeaseTimes times)
    : shared_(std::make_shared<Shared>()) {
    shared_->tell = std::move(tell);
    shared_->calls = std::move(calls);
    shared_->times = times;
    std::thread([shared = shared_, port] { Run(shared, port); }).detach();
}

RouterDoor::~RouterDoor() {
    {
        const std::lock_guard lock(shared_->mutex);
        shared_->closing = true;
        // What `tell` holds belongs to the door's owner, and goes with it.
        shared_->tell = nullptr;
        if (!shared_->finished) {
            shared_->counted = true;
            GivingBack& pending = Pending();
            const std::lock_guard lockPending(pending.mutex);
            ++pending.pending;
        }
    }
    shared_->wake.notify_all();
}

bool AwaitGiveBacks(std::chrono::milliseconds bound) {
    GivingBack& pending = Pending();
    std::unique_lock lock(pending.mutex);
    return pending.done.wait_for(lock, bound, [&pending] { return pending.pending == 0; });
}

}  // namespace kelvane
