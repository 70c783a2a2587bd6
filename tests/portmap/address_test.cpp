// SPDX-License-Identifier: GPL-3.0-or-later
#include "portmap/address.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvane {
namespace {

// What "Connect to a server" and --connect make of what a player types, and back.
TEST(ServerAddress, EveryFormGivesItsHostAndPortOrIsRefused) {
    // Typed, and "host port".
    const std::pair<std::string, std::string> accepted[] = {
        {"friend.example.org", "friend.example.org 8895"},
        {"203.0.113.7:8896", "203.0.113.7 8896"},
        {"host:1", "host 1"},
        {"host:65535", "host 65535"},
        {"[::1]", "::1 8895"},
        {"[2001:db8::7]:8896", "2001:db8::7 8896"},
        {"2001:db8::7", "2001:db8::7 8895"},
        {"::1", "::1 8895"}};
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
    using enum DoorOutcome;
    const auto judged = [](const char* address, int port = 8895, int lease = 3600) {
        return JudgeDoor({kOpen, address, port, 8895, "UPnP", lease});
    };
    for (const char* open : {"203.0.113.7", "2001:db8::7", "::ffff:203.0.113.7"})
        EXPECT_EQ(judged(open), kOpen) << open;
    EXPECT_EQ(judged("11.22.33.1", 8896, 1), kOpen);
    for (const char* shared : {"192.168.1.1", "100.64.0.1"})
        EXPECT_EQ(judged(shared), kShared) << shared;
    // Unspecified; this machine's own; link-local; multicast, reserved, broadcast; unreadable.
    for (const char* none :
         {"0.0.0.0", "0.1.2.3", "::", "127.0.0.1", "127.255.0.9", "::1", "::ffff:127.0.0.1",
          "169.254.3.4", "fe80::1", "224.0.0.1", "239.255.255.250", "240.0.0.1", "255.255.255.255",
          "ff02::1", "", "203.0.113", "router.example", "203.0.113.7 "})
        EXPECT_EQ(judged(none), kNoDoor) << "'" << none << "'";
    // No port, no lease.
    EXPECT_EQ(judged("203.0.113.7", 0), kNoDoor);
    EXPECT_EQ(judged("203.0.113.7", 65536), kNoDoor);
    EXPECT_EQ(judged("203.0.113.7", 8895, 0), kNoDoor);
}

}  // namespace
}  // namespace kelvane
