#include "install/tree/disk/file_record.hpp"

#include <charconv>

#include <nettle/sha2.h>

namespace install::tree {

Digest sha256(std::string_view bytes) noexcept {
    Digest digest{};
    sha256_ctx state;
    sha256_init(&state);
    sha256_update(&state, bytes.size(), reinterpret_cast<const std::uint8_t*>(bytes.data()));
    sha256_digest(&state, digest.size(), digest.data());
    return digest;
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

std::string line_of(const FileRecord& record) {
    return (record.digest ? hexadecimal(*record.digest) : "-") + ' ' + std::to_string(record.size) +
           ' ' + record.name;
}

std::optional<FileRecord> record_in(std::string_view line) {
    FileRecord record;
    const std::string_view digits = line.substr(0, line.find(' '));
    record.digest = digest_in(digits);
    if ((!record.digest && digits != "-") || digits.size() == line.size())
        return std::nullopt;
    const char* const end = line.data() + line.size();
    const auto [after, code] = std::from_chars(line.data() + digits.size() + 1, end, record.size);
    if (code != std::errc() || after == end || *after != ' ')
        return std::nullopt;
    record.name.assign(after + 1, end);
    return record;
}

} // namespace install::tree
