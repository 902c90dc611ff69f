#include "install/product_impl/utils/json_diagnosis.hpp"

#include "fl/filesystem/fstream.hpp"
#include "fl/filesystem/native_access.hpp"
#include "foundation/json/detail/parser.hpp"
#include "foundation/json/value.hpp"
#include "install/product_impl/utils/read_to_end.hpp"

#include <algorithm>
#include <array>
#include <filesystem>
#include <optional>
#include <stdexcept>
#include <string_view>
#include <utility>

namespace install::product_impl::utils {

namespace {

using foundation::json::Value;
using foundation::json::ValueMap;
using State = JsonFileDiagnosis::State;

JsonFileDiagnosis diagnosis(State state, std::string text) {
    JsonFileDiagnosis result;
    result.state = state;
    result.text = std::move(text);
    return result;
}

void locate(JsonFileDiagnosis& result, std::string_view text, std::size_t offset) {
    const std::string_view before = text.substr(0, offset);
    const auto last_line_end = before.rfind('\n');
    result.offset = offset;
    result.line = static_cast<std::size_t>(std::count(before.begin(), before.end(), '\n')) + 1;
    result.column = offset - (last_line_end == std::string_view::npos ? 0 : last_line_end + 1) + 1;
}

// The message of the getter names the alternative that was read.
std::string failure_to_be_an_object(const Value& document) {
    std::string failure;
    try {
        static_cast<void>(document.get<ValueMap>());
    } catch (const std::runtime_error& error) {
        failure = error.what();
    }
    return failure;
}

// Diagnoses what is not a regular file. Such a file is never opened: opening a FIFO would wait
// until another process writes to it.
std::optional<JsonFileDiagnosis> diagnose_without_opening(const ustring& path) {
    namespace fs = std::filesystem;
    try {
        const fs::file_status status =
            fs::status(fl::filesystem::detail::make_native_access_form_with_cleanup_i18n(path));
        if (!fs::exists(status))
            return diagnosis(State::missing, "There is no file.");
        if (!fs::is_regular_file(status))
            return diagnosis(State::unreadable, "This is not a regular file.");
    } catch (const fs::filesystem_error& error) {
        return diagnosis(State::unreadable, error.what());
    }
    return std::nullopt;
}

} // namespace

JsonFileDiagnosis diagnoseJson(const std::string& text, ValueMap& members) {
    namespace json = foundation::json::detail;
    members.clear();
    Value other; // what is there instead of an object
    auto pos = text.begin();
    const bool is_object = text.starts_with('{');
    std::size_t repeated_keys = 0;
    const json::parse_result code =
        is_object ? json::read_members(members, pos, text.end(), false, 0, &repeated_keys)
                  : json::parse_value(other, pos, text.end(), false);
    JsonFileDiagnosis result;
    if (code != json::parse_ok)
        result = diagnosis(State::damaged, json::describe(code));
    else if (is_object)
        result = diagnosis(State::object, "The text is an object.");
    else
        result = diagnosis(State::no_object,
                           "The text is not an object: " + failure_to_be_an_object(other) + ".");
    result.code = code;
    result.repeated_keys = repeated_keys;
    locate(result, text, static_cast<std::size_t>(pos - text.begin()));
    if (code == json::parse_ok)
        result.ignored_bytes = text.size() - result.offset;
    return result;
}

JsonFileDiagnosis diagnoseJson(const std::string& text) {
    ValueMap members;
    return diagnoseJson(text, members);
}

JsonFileDiagnosis diagnoseJsonFile(const ustring& path, std::string& text) {
    text.clear();
    if (auto found = diagnose_without_opening(path))
        return std::move(*found);
    std::array<char, read_buffer_size> buffer;
    fl::filesystem::basic_ifstream<char> file(path, buffer.data(), buffer.size());
    if (!file.is_open())
        return diagnosis(State::unreadable, "The file cannot be opened.");
    text = read_to_end(file);
    if (file.bad())
        return diagnosis(State::unreadable, "The file cannot be read to its end.");
    return diagnoseJson(text);
}

JsonFileDiagnosis diagnoseJsonFile(const ustring& path) {
    std::string text;
    return diagnoseJsonFile(path, text);
}

} // namespace install::product_impl::utils
