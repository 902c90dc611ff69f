#include "output_file.hpp"

#include "failure.hpp"
#include "install/tree/printable_text.hpp"
#include "shell_text.hpp"
#include "uuid.hpp"

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include <unistd.h>

namespace kxtree {

namespace fs = std::filesystem;

namespace {

// Returns what went wrong.
std::error_code write_stream(std::FILE* stream, std::string_view text, bool is_regular) {
    const bool is_written = std::fwrite(text.data(), 1, text.size(), stream) == text.size() &&
                            std::fflush(stream) == 0 && (!is_regular || fsync(fileno(stream)) == 0);
    return {is_written ? 0 : errno, std::generic_category()};
}

std::error_code write_to(const fs::path& path, const char* mode, std::string_view text,
                         bool is_regular) {
    std::FILE* const stream = std::fopen(path.c_str(), mode);
    if (stream == nullptr)
        return {errno, std::generic_category()};
    const std::error_code failure = write_stream(stream, text, is_regular);
    if (std::fclose(stream) != 0 && !failure)
        return {errno, std::generic_category()};
    return failure;
}

std::error_code replace(const fs::path& path, std::string_view text) {
    const fs::path beside = path.parent_path() / (".kxtree-" + random_uuid());
    std::error_code failure = write_to(beside, "wbx", text, true);
    if (!failure)
        fs::rename(beside, path, failure);
    if (failure)
        std::remove(beside.c_str());
    return failure;
}

} // namespace

void write_file(const std::string& path, std::string_view text) {
    std::error_code code;
    const auto type = fs::status(path, code).type();
    if (type == fs::file_type::not_found)
        code = replace(path, text);
    else if (type == fs::file_type::regular)
        code = replace(fs::canonical(path), text); // a link stays
    else
        code = write_to(path, "wb", text, false);
    if (!code)
        return;
    const std::string folder = fs::path(path).parent_path().string();
    throw Failure("cannot write " + install::tree::printable_text(path) + ": " + code.message(),
                  (code == std::errc::no_space_on_device
                       ? "to see how much room there is, run: df -h "
                       : "to see what is there, run: ls -ld ") +
                      shell_word(folder.empty() ? "." : folder));
}

} // namespace kxtree
