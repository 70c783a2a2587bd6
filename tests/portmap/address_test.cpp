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

// The two doors together: a friend is given every open door, the IPv4 one first, and told who
// can reach this machine; a home behind a shared IPv4 address with no pinhole open is told that
// the friend should serve. With only the IPv4 door asked, its own sentence says the rest.
TEST(RouterAnswer, TheDoorsTellWhatAFriendReachesAndWhoShouldServe) {
    const DoorReport open4{DoorOutcome::kOpen, "203.0.113.7", 8895, 8895, "UPnP", 3600};
    DoorReport shared4 = open4, refused4 = open4;
    shared4.outcome = DoorOutcome::kShared;
    shared4.outsideAddress = "100.64.0.1";
    refused4.outcome = DoorOutcome::kRefused;
    const auto pinhole = [](DoorOutcome outcome, int port = 8895) {
        return DoorReport{outcome, "2001:db8::7", port, port, "UPnP", 3600, DoorFamily::kIPv6};
    };
    const std::string friendServes = "Let your friend serve, and connect to him";
    struct Case {
        Reach reach;
        const char* given;
        std::string says;  // a part of the sentence; empty: no sentence at all
    } cases[] = {
        {{open4, pinhole(DoorOutcome::kOpen)},
         "203.0.113.7 2001:db8::7",
         "Players in other homes connect to 203.0.113.7, or with IPv6 to 2001:db8::7."},
        {{open4, pinhole(DoorOutcome::kOpen, 8896)},
         "203.0.113.7 [2001:db8::7]:8896",
         "or with IPv6 to [2001:db8::7]:8896."},
        {{open4, pinhole(DoorOutcome::kRefused)}, "203.0.113.7", "connect to 203.0.113.7."},
        {{open4, std::nullopt}, "203.0.113.7", ""},
        {{refused4, pinhole(DoorOutcome::kOpen)}, "2001:db8::7", "Only players with IPv6"},
        {{shared4, pinhole(DoorOutcome::kOpen)}, "2001:db8::7", "Only players with IPv6"},
        {{shared4, pinhole(DoorOutcome::kLost)},
         "",
         "the router opened no IPv6 door. " + friendServes},
        {{shared4, pinhole(DoorOutcome::kNoAnswer)}, "", friendServes},
        {{shared4, std::nullopt}, "", "has no IPv6 address. " + friendServes},
        {{refused4, pinhole(DoorOutcome::kRefused)}, "", "No door is open"},
        {{refused4, std::nullopt}, "", ""},
    };
    for (const Case& c : cases) {
        std::string given;
        for (const std::string& address : AddressesToGive(c.reach))
            given += (given.empty() ? "" : " ") + address;
        const std::string said = ReachSentence(c.reach);
        SCOPED_TRACE(said);
        EXPECT_EQ(given, c.given);
        if (c.says.empty()) {
            EXPECT_EQ(said, "");
        } else {
            EXPECT_NE(said.find(c.says), std::string::npos);
        }
        // Only a home nobody outside reaches is told to change seats.
        EXPECT_EQ(said.find(friendServes) != std::string::npos,
                  c.says.find(friendServes) != std::string::npos);
    }
}

}  // namespace
}  // namespace kelvane
