// SPDX-License-Identifier: GPL-3.0-or-later
#include <cstdio>
#include <cstdlib>
#include <string>

#include "fuzz/receive_target.h"

// libFuzzer's entry, one program per role: anything that broke is a crash, with the reason
// printed first.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string broke = kelvane::fuzz::TryBytes(data, size, KELVANE_FUZZ_ROLE);
    if (!broke.empty()) {
        std::fprintf(stderr, "broke: %s\n", broke.c_str());
        std::abort();
    }
    return 0;
}
