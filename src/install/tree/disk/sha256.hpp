// SHA-256 of what is in a file.

#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include <nettle/sha2.h>

namespace install::tree {

using Digest = std::array<std::uint8_t, SHA256_DIGEST_SIZE>;

// Takes bytes in any number of pieces. Neither throws nor allocates.
class Sha256 {
public:
    Sha256() noexcept { sha256_init(&state_); }
    Sha256& add(std::string_view bytes) noexcept;
    [[nodiscard]] Digest digest() noexcept;

private:
    sha256_ctx state_;
};

// Returns the digest in hexadecimal digits.
[[nodiscard]] std::string hexadecimal(const Digest& digest);
// Returns the digest in such digits; nothing if they are none, or not as many.
[[nodiscard]] std::optional<Digest> digest_in(std::string_view digits) noexcept;

} // namespace install::tree
