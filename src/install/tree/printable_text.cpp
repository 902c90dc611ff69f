#include "install/tree/printable_text.hpp"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>

namespace install::tree {

namespace {

struct Character {
    std::uint32_t code = 0;
    std::size_t size = 0; // in bytes; 0 if they are ill-formed UTF-8
};

Character first_character(std::string_view text) {
    const auto byte = [&](std::size_t index) { return static_cast<unsigned char>(text[index]); };
    if (byte(0) < 0x80)
        return {byte(0), 1};
    const std::size_t size = byte(0) < 0xE0 ? 2 : byte(0) < 0xF0 ? 3 : 4;
    constexpr std::array<std::uint32_t, 5> least = {0, 0, 0x80, 0x800, 0x10000};
    if (byte(0) < 0xC2 || byte(0) > 0xF4 || size > text.size())
        return {};
    std::uint32_t code = byte(0) & (0x7FU >> size);
    for (std::size_t index = 1; index < size; ++index) {
        if ((byte(index) & 0xC0U) != 0x80)
            return {};
        code = code << 6U | (byte(index) & 0x3FU);
    }
    const bool is_surrogate = code >= 0xD800 && code < 0xE000;
    const bool is_scalar = code >= least[size] && code <= 0x10FFFF && !is_surrogate;
    return is_scalar ? Character{code, size} : Character{};
}

bool is_control(std::uint32_t code) {
    return code < 0x20 || (code >= 0x7F && code < 0xA0);
}

// Whether a terminal shows the characters after it in another order, or breaks the line.
bool rearranges_text(std::uint32_t code) {
    return code == 0x061C || code == 0x200E || code == 0x200F ||
           (code >= 0x2028 && code <= 0x202E) || (code >= 0x2066 && code <= 0x2069);
}

template <class... Arguments>
std::string formatted(const char* format, Arguments... arguments) {
    std::array<char, 16> text{};
    std::snprintf(text.data(), text.size(), format, arguments...);
    return text.data();
}

} // namespace

std::string printable(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    while (!text.empty()) {
        const Character character = first_character(text);
        if (character.size < 2 && (character.size == 0 || is_control(character.code)))
            result +=
                formatted("\\x%02x", static_cast<unsigned>(static_cast<unsigned char>(text[0])));
        else if (is_control(character.code) || rearranges_text(character.code))
            result += formatted("\\u{%x}", static_cast<unsigned>(character.code));
        else
            result += text.substr(0, character.size);
        text.remove_prefix(character.size == 0 ? 1 : character.size);
    }
    return result;
}

} // namespace install::tree
