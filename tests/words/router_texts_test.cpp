// SPDX-License-Identifier: GPL-3.0-or-later
#include "words/router_texts.h"

#include <gtest/gtest.h>

#include <string>

namespace kelvane {
namespace {

// Each door is told in one sentence: only an open one gives the address a friend types (with the
// port the router forwards when it is not the game's own), and only the pinhole's speaks of IPv6.
TEST(RouterAnswer, OnlyAnOpenDoorGivesAnAddressAndEachFamilyTellsOfItsOwnDoor) {
    for (const DoorFamily family : {DoorFamily::kIPv4, DoorFamily::kIPv6}) {
        const bool v6 = family == DoorFamily::kIPv6;
        const std::string outside = v6 ? "2001:db8::7" : "203.0.113.7";
        for (const DoorOutcome outcome :
             {DoorOutcome::kOpen, DoorOutcome::kShared, DoorOutcome::kNoDoor, DoorOutcome::kRefused,
              DoorOutcome::kNoAnswer, DoorOutcome::kLost}) {
            const DoorReport report{outcome, outside, 8896, 8896, "UPnP", 3600, family};
            const std::string said = DoorSentence(report);
            SCOPED_TRACE(said);
            EXPECT_EQ(said.ends_with("connect to " + FormatServerAddress(outside, 8896) + "."),
                      outcome == DoorOutcome::kOpen);
            EXPECT_EQ(said.find("IPv6") != std::string::npos, v6);
        }
    }
    // A router whose own port went to another machine forwards another: both are named.
    const DoorReport moved{DoorOutcome::kOpen, "203.0.113.7", 8896, 8895, "UPnP", 3600};
    EXPECT_NE(DoorSentence(moved).find("port 8895 is another machine's, so it forwards port 8896"),
              std::string::npos);
}

// The two doors together: a friend is given every open door, the IPv4 one first, and told who
// can reach this machine; a home behind a shared IPv4 address with no pinhole open is told that
// the friend should serve. With only the IPv4 door asked, its own sentence says the rest.
TEST(RouterAnswer, TheDoorsTellWhatAFriendReachesAndWhoShouldServe) {
    const DoorReport open4{DoorOutcome::kOpen, "203.0.113.7", 8895, 8895, "UPnP", 3600};
    const DoorReport shared4{DoorOutcome::kShared, "100.64.0.1", 8895, 8895, "UPnP", 3600},
        refused4{DoorOutcome::kRefused, "203.0.113.7", 8895, 8895, "UPnP", 3600};
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
        EXPECT_TRUE(c.says.empty() ? said.empty() : said.find(c.says) != std::string::npos);
        // Only a home nobody outside reaches is told to change seats.
        EXPECT_EQ(said.find(friendServes) != std::string::npos,
                  c.says.find(friendServes) != std::string::npos);
    }
}

}  // namespace
}  // namespace kelvane
