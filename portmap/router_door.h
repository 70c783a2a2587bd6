// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <functional>
#include <memory>
#include <string>

#include "portmap/address.h"
#include "portmap/router.h"

namespace kelvane {

// An hour's lease, renewed at half time while serving: a program that crashes leaves the port
// open for at most this long.
inline constexpr int kLeaseSeconds = 3600;

// What the door asks of the router; the real router by default, a scripted one in tests.
struct RouterCalls {
    std::function<Granted(int port, int leaseSeconds, std::chrono::steady_clock::time_point)> ask =
        AskRouter;
    std::function<bool(const Mapping&, int leaseSeconds)> renew = RenewMapping;
    std::function<void(const Mapping&)> giveBack = GiveBack;
    // Doors of one family take turns with the router; the two families never meet there.
    DoorFamily family = DoorFamily::kIPv4;
};

// The same door in the router's IPv6 firewall: a pinhole for the port to `address`.
RouterCalls FirewallCalls(const std::string& address);

// When the lease is renewed. A renewal the router refuses is asked again a few times, each well
// before the lease runs out, and only then is the door told lost.
struct LeaseTimes {
    int leaseSeconds = kLeaseSeconds;
    std::chrono::milliseconds renewAfter{kLeaseSeconds * 1000 / 2};
    std::chrono::milliseconds retryAfter{kLeaseSeconds * 1000 / 12};
    int retries = 3;
};

// The serving port forwarded by the home router for as long as this object lives. The request,
// its renewals and the giving back run on a thread of their own, which owns everything it
// touches: destroying the door only tells that thread to give the port back, and never waits for
// the router. `tell` is called on that thread with what the router said, and again if the door
// is lost later; never once the door is destroyed.
class RouterDoor {
  public:
    using Tell = std::function<void(const DoorReport&)>;
    RouterDoor(int port, Tell tell, RouterCalls calls = {}, LeaseTimes times = {});
    ~RouterDoor();
    RouterDoor(const RouterDoor&) = delete;
    RouterDoor& operator=(const RouterDoor&) = delete;

    struct Shared;

  private:
    std::shared_ptr<Shared> shared_;
};

// Waits until every door destroyed so far has given its port back, for at most `bound`; false
// when some router has not answered by then. A program calls it on its way out, since the threads
// giving back end with the process.
bool AwaitGiveBacks(std::chrono::milliseconds bound = kGiveBackBound);

}  // namespace kelvane
