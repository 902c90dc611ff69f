#include "shell_text.hpp"

#include "install/tree/printable_text.hpp"

#include <algorithm>
#include <array>
#include <cstdio>

namespace kxtree {

namespace {

bool is_plain(char byte) {
    constexpr std::string_view others = "/._-+:@%,=";
    return (byte >= 'a' && byte <= 'z') || (byte >= 'A' && byte <= 'Z') ||
           (byte >= '0' && byte <= '9') || others.find(byte) != others.npos;
}

std::string in_single_quotes(std::string_view word) {
    std::string text = "'";
    for (const char byte : word)
        byte == '\'' ? text.append("'\\''") : text.append(1, byte);
    return text + "'";
}

std::string in_escapes(std::string_view word) {
    std::string text = "$'";
    for (const char byte : word)
        if (is_plain(byte) || byte == ' ') {
            text += byte;
        } else {
            std::array<char, 8> escape{};
            std::snprintf(escape.data(), escape.size(), "\\x%02x",
                          static_cast<unsigned>(static_cast<unsigned char>(byte)));
            text += escape.data();
        }
    return text + "'";
}

} // namespace

std::string shell_word(std::string_view word) {
    if (!word.empty() && std::ranges::all_of(word, is_plain))
        return std::string(word);
    return install::tree::printable_text(word) == word ? in_single_quotes(word) : in_escapes(word);
}

std::string command_line(std::string_view command, std::string_view root,
                         const std::vector<std::string>& keys) {
    const auto is_like_an_option = [](std::string_view word) { return word.starts_with('-'); };
    std::string line = "kxtree " + std::string(command);
    if (is_like_an_option(root) || std::ranges::any_of(keys, is_like_an_option))
        line += " --";
    line += ' ' + shell_word(root);
    for (const std::string& key : keys)
        line += ' ' + shell_word(key);
    return line;
}

} // namespace kxtree
