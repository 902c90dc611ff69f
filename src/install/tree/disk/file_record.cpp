#include "install/tree/disk/file_record.hpp"

#include <charconv>

#include <nettle/base16.h>
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
    std::string text(BASE16_ENCODE_LENGTH(digest.size()), '\0');
    base16_encode_update(text.data(), digest.size(), digest.data());
    return text;
}

// The decoder skips whitespace, so that a text that has some is too short.
std::optional<Digest> digest_in(std::string_view digits) noexcept {
    Digest digest{};
    base16_decode_ctx state;
    base16_decode_init(&state);
    std::size_t size = digest.size();
    const bool is_digest =
        digits.size() == BASE16_ENCODE_LENGTH(digest.size()) &&
        base16_decode_update(&state, &size, digest.data(), digits.size(), digits.data()) == 1 &&
        size == digest.size();
    return is_digest ? std::optional(digest) : std::nullopt;
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
