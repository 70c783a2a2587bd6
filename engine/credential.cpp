// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/credential.h"

#include <openssl/crypto.h>
#include <openssl/evp.h>
#include <openssl/hmac.h>
#include <openssl/rand.h>

#include <array>

#include "game/failure.h"
#include "wire/wire.h"

namespace kelvane {

namespace {

std::string HexOf(const unsigned char* bytes, std::size_t n) {
    std::string text(2 * n, '0');
    for (std::size_t i = 0; i < n; ++i) {
        static constexpr char kDigits[] = "0123456789abcdef";
        text[2 * i] = kDigits[bytes[i] >> 4];
        text[2 * i + 1] = kDigits[bytes[i] & 15];
    }
    return text;
}

}  // namespace

std::string RandomKey() {
    std::array<unsigned char, kKeyDigits / 2> bytes{};
    // Without good randomness no secret can be made: that is this program's fault, not the
    // opponent's, and goes to the failure report.
    if (RAND_bytes(bytes.data(), static_cast<int>(bytes.size())) != 1)
        throw Failure(kInternalError, "No random source for the session's secret");
    return HexOf(bytes.data(), bytes.size());
}

std::string ProofMac(std::string_view serverKey, std::string_view clientKey,
                     std::string_view challenge, long applied, long sent) {
    const std::string secret = std::string(serverKey) + std::string(clientKey);
    const std::string text = "kelvane resume:" + std::string(challenge) + ":" +
                             std::to_string(applied) + ":" + std::to_string(sent);
    std::array<unsigned char, EVP_MAX_MD_SIZE> mac{};
    unsigned int length = 0;
    if (!HMAC(EVP_sha256(), secret.data(), static_cast<int>(secret.size()),
              reinterpret_cast<const unsigned char*>(text.data()), text.size(), mac.data(),
              &length) ||
        length != kProofDigits / 2)
        throw Failure(kInternalError, "The keyed hash could not be made");
    return HexOf(mac.data(), length);
}

bool SameProof(std::string_view a, std::string_view b) {
    return a.size() == b.size() && CRYPTO_memcmp(a.data(), b.data(), a.size()) == 0;
}

}  // namespace kelvane
