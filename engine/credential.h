// SPDX-License-Identifier: GPL-3.0-or-later
#pragma once

#include <string>
#include <string_view>

#include "engine/resume.h"

namespace kelvane {

// The proof that a caller is the client who left. Each program puts a random half of the
// session's secret in its announcement on the session's first connection, and never sends it
// again. A server waiting for its client challenges every caller with fresh random bytes; only
// the keyed hash of that challenge under the whole secret lets the caller in. The game's
// identifier is known to anyone who saw its deal and is never taken as proof.

// kKeyDigits hexadecimal digits of the system's cryptographic random source: a half of the
// secret, or a challenge.
std::string RandomKey();

// The keyed hash of the challenge and the caller's counts under the secret (the server's half,
// then the client's), as kProofDigits hexadecimal digits. The counts are inside the hash, so the
// caller cannot be made to resume elsewhere than he says.
std::string ProofMac(std::string_view serverKey, std::string_view clientKey,
                     std::string_view challenge, long applied, long sent);

// Compares two proofs in a time that does not depend on where they first differ.
bool SameProof(std::string_view a, std::string_view b);

// The programs' secrets: the kernel's random source and HMAC-SHA-256.
class SystemSecrets : public Secrets {
  public:
    std::string RandomKey() override { return kelvane::RandomKey(); }
    std::string Mac(std::string_view serverKey, std::string_view clientKey,
                    std::string_view challenge, long applied, long sent) override {
        return ProofMac(serverKey, clientKey, challenge, applied, sent);
    }
};

}  // namespace kelvane
