#include "install/tree/disk/sha256.hpp"

#include <charconv>

namespace install::tree {

Sha256& Sha256::add(std::string_view bytes) noexcept {
    sha256_update(&state_, bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
    return *this;
}

Digest Sha256::digest() noexcept {
    Digest result{};
    sha256_digest(&state_, result.size(), result.data());
    return result;
}

std::string hexadecimal(const Digest& digest) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    text.reserve(2 * digest.size());
    for (const std::uint8_t byte : digest) {
        text.push_back(digits[byte >> 4U]);
        text.push_back(digits[byte & 15U]);
    }
    return text;
}

std::optional<Digest> digest_in(std::string_view digits) noexcept {
    Digest digest{};
    if (digits.size() != 2 * digest.size())
        return std::nullopt;
    for (std::uint8_t& byte : digest) {
        const char* const end = digits.data() + 2;
        if (std::from_chars(digits.data(), end, byte, 16).ptr != end)
            return std::nullopt;
        digits.remove_prefix(2);
    }
    return digest;
}

} // namespace install::tree
