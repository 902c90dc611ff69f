// A file as it was written: its name, its size and its SHA-256.

#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace install::tree {

using Digest = std::array<std::uint8_t, 32>;

[[nodiscard]] Digest sha256(std::string_view bytes) noexcept;
// Returns a digest in hexadecimal digits.
[[nodiscard]] std::string hexadecimal(const Digest& digest);
// Returns the digest in such digits; nothing if they are none, or not as many.
[[nodiscard]] std::optional<Digest> digest_in(std::string_view digits) noexcept;

struct FileRecord {
    std::string name;
    std::uint64_t size = 0;       // in bytes
    std::optional<Digest> digest; // none where the bytes are not known

    bool operator==(const FileRecord&) const = default;

    // Returns the record of a file with the bytes `bytes`.
    [[nodiscard]] static FileRecord of(std::string name, std::string_view bytes) {
        return {std::move(name), bytes.size(), sha256(bytes)};
    }
};

// Returns the record as a line: "SHA256 SIZE NAME", with a dash for an unknown digest.
[[nodiscard]] std::string line_of(const FileRecord& record);
// Returns the record in such a line; nothing if it is none.
[[nodiscard]] std::optional<FileRecord> record_in(std::string_view line);

} // namespace install::tree
