// SPDX-License-Identifier: GPL-3.0-or-later
#include "portmap/address.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvane {
namespace {

// What "Connect to a server" and --connect make of what a player types, and back.
TEST(ServerAddress, EveryFormGivesItsHostAndPortOrIsRefused) {
    const std::pair<std::string, std::string> accepted[] = {
        // typed, "host port"
        {"friend.example.org", "friend.example.org 8895"},
        {"203.0.113.7:8896", "203.0.113.7 8896"},
        {"host:1", "host 1"},
        {"host:65535", "host 65535"},
        {"[2001:db8::7]:8896", "2001:db8::7 8896"},
        {"[::1]", "::1 8895"},
        {"2001:db8::7", "2001:db8::7 8895"},
        {"::1", "::1 8895"},
    };
    const auto read = [](const std::string& typed) {
        const auto address = ParseServerAddress(typed);
        return address ? address->host + " " + std::to_string(address->port) : "refused";
    };
    for (const auto& [typed, expected] : accepted) {
        ASSERT_EQ(read(typed), expected) << typed;
        // What a friend is told reads back as the same address.
        const auto address = ParseServerAddress(typed);
        EXPECT_EQ(read(FormatServerAddress(address->host, address->port)), expected) << typed;
    }
    for (const char* refused : {"host:0", "host:65536", "host:", "host:x", ":8896", "", "[::1",
                                "[]:8896", "[::1]8896", "[::1]:"})
        EXPECT_EQ(read(refused), "refused") << refused;
    EXPECT_EQ(FormatServerAddress("203.0.113.7", 8895), "203.0.113.7");
    EXPECT_EQ(FormatServerAddress("2001:db8::7", 8896), "[2001:db8::7]:8896");
}

TEST(ServerAddress, OnlyPrivateAndSharedIPv4AddressesAreUnreachableFromOutside) {
    for (const char* inside : {"10.0.0.1", "10.255.255.255", "172.16.0.1", "172.31.255.255",
                               "192.168.1.1", "100.64.0.1", "100.127.255.255"})
        EXPECT_TRUE(IsPrivateOrShared(inside)) << inside;
    for (const char* outside : {"9.255.255.255", "11.0.0.1", "172.15.255.255", "172.32.0.1",
                                "192.169.0.1", "100.63.255.255", "100.128.0.1", "2001:db8::1", ""})
        EXPECT_FALSE(IsPrivateOrShared(outside)) << outside;
}

// A router's yes is judged before a player is told an address to give: only what someone on the
// internet can type, with a real port and a lease still running, is a door.
TEST(RouterAnswer, OnlyAReachableAddressWithAPortAndALeaseIsADoor) {
    struct Answer {
        const char* address;
        int port;
        int lease;
        DoorOutcome judged;
    };
    const Answer answers[] = {
        {"203.0.113.7", 8895, 3600, DoorOutcome::kOpen},
        {"11.22.33.1", 8896, 1, DoorOutcome::kOpen},
        {"2001:db8::7", 8895, 3600, DoorOutcome::kOpen},
        {"::ffff:203.0.113.7", 8895, 3600, DoorOutcome::kOpen},
        {"192.168.1.1", 8895, 3600, DoorOutcome::kShared},
        {"100.64.0.1", 8895, 3600, DoorOutcome::kShared},
        // unspecified
        {"0.0.0.0", 8895, 3600, DoorOutcome::kNoDoor},
        {"0.1.2.3", 8895, 3600, DoorOutcome::kNoDoor},
        {"::", 8895, 3600, DoorOutcome::kNoDoor},
        // this machine's own
        {"127.0.0.1", 8895, 3600, DoorOutcome::kNoDoor},
        {"127.255.0.9", 8895, 3600, DoorOutcome::kNoDoor},
        {"::1", 8895, 3600, DoorOutcome::kNoDoor},
        {"::ffff:127.0.0.1", 8895, 3600, DoorOutcome::kNoDoor},
        // link-local
        {"169.254.3.4", 8895, 3600, DoorOutcome::kNoDoor},
        {"fe80::1", 8895, 3600, DoorOutcome::kNoDoor},
        // multicast, reserved, broadcast
        {"224.0.0.1", 8895, 3600, DoorOutcome::kNoDoor},
        {"239.255.255.250", 8895, 3600, DoorOutcome::kNoDoor},
        {"240.0.0.1", 8895, 3600, DoorOutcome::kNoDoor},
        {"255.255.255.255", 8895, 3600, DoorOutcome::kNoDoor},
        {"ff02::1", 8895, 3600, DoorOutcome::kNoDoor},
        // unreadable
        {"", 8895, 3600, DoorOutcome::kNoDoor},
        {"203.0.113", 8895, 3600, DoorOutcome::kNoDoor},
        {"router.example", 8895, 3600, DoorOutcome::kNoDoor},
        {"203.0.113.7 ", 8895, 3600, DoorOutcome::kNoDoor},
        // no port, no lease
        {"203.0.113.7", 0, 3600, DoorOutcome::kNoDoor},
        {"203.0.113.7", 65536, 3600, DoorOutcome::kNoDoor},
        {"203.0.113.7", 8895, 0, DoorOutcome::kNoDoor},
    };
    for (const Answer& a : answers) {
        const DoorReport report{DoorOutcome::kOpen, a.address, a.port, 8895, "UPnP", a.lease};
        EXPECT_EQ(JudgeDoor(report), a.judged)
            << "'" << a.address << "' port " << a.port << " lease " << a.lease;
    }
}

}  // namespace
}  // namespace kelvane
