// A file as it was written: its name, its size and its SHA-256.

#pragma once

#include "install/tree/disk/sha256.hpp"

#include <charconv>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace install::tree {

struct FileRecord {
    std::string name;
    std::uint64_t size = 0;       // in bytes
    std::optional<Digest> digest; // none where the bytes are not known

    // Returns the record of a file with the bytes `bytes`.
    [[nodiscard]] static FileRecord of(std::string name, std::string_view bytes) {
        return {std::move(name), bytes.size(), Sha256().add(bytes).digest()};
    }
};

// Returns the record as a line: "SHA256 SIZE NAME", with a dash for an unknown digest.
[[nodiscard]] inline std::string line_of(const FileRecord& record) {
    return (record.digest ? hexadecimal(*record.digest) : "-") + ' ' + std::to_string(record.size) +
           ' ' + record.name;
}

// Returns the record in such a line; nothing if it is none.
[[nodiscard]] inline std::optional<FileRecord> record_in(std::string_view line) {
    FileRecord record;
    const std::string_view digits = line.substr(0, line.find(' '));
    record.digest = digest_in(digits);
    if ((!record.digest && digits != "-") || digits.size() == line.size())
        return std::nullopt;
    const char* const end = line.data() + line.size();
    const auto [after, code] = std::from_chars(digits.data() + digits.size() + 1, end, record.size);
    if (code != std::errc() || after == end || *after != ' ')
        return std::nullopt;
    record.name.assign(after + 1, end);
    return record;
}

} // namespace install::tree
