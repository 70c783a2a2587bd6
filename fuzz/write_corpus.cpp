// SPDX-License-Identifier: GPL-3.0-or-later
// Writes the seed corpus: every real position with the bytes its opponent sent to it next.
//   kelvane_fuzz_corpus fuzz/corpus

#include <fstream>
#include <iostream>
#include <string>

#include "fuzz/receive_target.h"

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: kelvane_fuzz_corpus <folder>\n";
        return 2;
    }
    int n = 0;
    for (const std::string& input : kelvane::fuzz::RealTraffic()) {
        std::ofstream(std::string(argv[1]) + "/traffic-" + std::to_string(n++), std::ios::binary)
            << input;
    }
    std::cout << n << " inputs written\n";
    return 0;
}
