// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <string>
#include <thread>

#include "portmap/address.h"
#include "portmap/router.h"

namespace kelvane {

// The router is given about this long to answer: play on the home network never waits for it.
inline constexpr std::chrono::seconds kRouterBound{3};
// An hour's lease, renewed at half time while serving: a program that crashes leaves the port
// open for at most this long.
inline constexpr int kLeaseSeconds = 3600;

// The serving port forwarded by the home router for as long as this object lives. The request,
// its renewals and the giving back run on a thread of their own; `tell` is called once, on that
// thread, with what the router said. Destroying the door deletes the mapping.
class RouterDoor {
  public:
    using Tell = std::function<void(const DoorReport&)>;
    RouterDoor(int port, Tell tell);
    ~RouterDoor();
    RouterDoor(const RouterDoor&) = delete;
    RouterDoor& operator=(const RouterDoor&) = delete;

  private:
    void Run(int port);

    Tell tell_;
    std::mutex mutex_;
    std::condition_variable wake_;
    bool closing_ = false;
    std::thread worker_;
};

}  // namespace kelvane
