// SPDX-License-Identifier: GPL-3.0-or-later
#include "engine/credential.h"

#include <gcrypt.h>
#include <sys/random.h>

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
    if (getrandom(bytes.data(), bytes.size(), 0) != static_cast<ssize_t>(bytes.size()))
        throw Failure(kInternalError, "No random source for the session's secret");
    return HexOf(bytes.data(), bytes.size());
}

std::string ProofMac(std::string_view serverKey, std::string_view clientKey,
                     std::string_view challenge, long applied, long sent) {
    const std::string secret = std::string(serverKey) + std::string(clientKey);
    const std::string text = "kelvane resume:" + std::string(challenge) + ":" +
                             std::to_string(applied) + ":" + std::to_string(sent);
    // The library must be told its version is good enough before its first use; later calls
    // only answer the question.
    static const bool ready = gcry_check_version(GCRYPT_VERSION) != nullptr;
    std::array<unsigned char, kProofDigits / 2> mac{};
    gcry_buffer_t parts[2] = {};
    parts[0].data = const_cast<char*>(secret.data());
    parts[0].len = secret.size();
    parts[1].data = const_cast<char*>(text.data());
    parts[1].len = text.size();
    if (!ready || gcry_md_get_algo_dlen(GCRY_MD_SHA256) != mac.size() ||
        gcry_md_hash_buffers(GCRY_MD_SHA256, GCRY_MD_FLAG_HMAC, mac.data(), parts, 2) != 0)
        throw Failure(kInternalError, "The keyed hash could not be made");
    return HexOf(mac.data(), mac.size());
}

bool SameProof(std::string_view a, std::string_view b) {
    // Every byte is looked at whatever the first difference, so the time a refusal takes tells a
    // caller nothing of how much of his proof was right.
    if (a.size() != b.size()) return false;
    unsigned char difference = 0;
    for (std::size_t i = 0; i < a.size(); ++i)
        difference |= static_cast<unsigned char>(a[i] ^ b[i]);
    return difference == 0;
}

}  // namespace kelvane
