// SPDX-License-Identifier: GPL-3.0-or-later
#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

#include "fuzz/receive_target.h"

namespace kelvane {
namespace {

// Every input the fuzzer was seeded with and every one that ever broke something, replayed in
// the ordinary suite: a fault found once stays found.
TEST(FuzzReplay, EverySavedInputLeavesTheGameWhole) {
    int replayed = 0;
    for (const char* folder : {"corpus", "crashes"}) {
        for (const auto& entry :
             std::filesystem::directory_iterator(std::string(KELVANE_FUZZ_DIR) + "/" + folder)) {
            if (entry.path().filename().string().starts_with(".")) continue;
            std::ifstream in(entry.path(), std::ios::binary);
            const std::string input((std::istreambuf_iterator<char>(in)), {});
            EXPECT_EQ(
                fuzz::TryBytes(reinterpret_cast<const std::uint8_t*>(input.data()), input.size()),
                "")
                << entry.path();
            ++replayed;
        }
    }
    EXPECT_GT(replayed, 50);
}

}  // namespace
}  // namespace kelvane
