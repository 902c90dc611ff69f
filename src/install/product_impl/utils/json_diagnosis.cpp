#include "install/product_impl/utils/json_diagnosis.hpp"

#include "fl/filesystem/native_access.hpp"
#include "foundation/json/detail/parser.hpp"
#include "foundation/json/value.hpp"
#include "install/product_impl/utils/input_file.hpp"

#include <algorithm>
#include <stdexcept>
#include <string_view>
#include <system_error>
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
    const InputFile file(fl::filesystem::detail::make_native_access_form_with_cleanup_i18n(path));
    if (file.failure() == std::errc::no_such_file_or_directory ||
        file.failure() == std::errc::not_a_directory)
        return diagnosis(State::missing, "There is no file.");
    if (file.failure())
        return diagnosis(State::unreadable, "The file cannot be opened.");
    if (!file.is_regular())
        return diagnosis(State::unreadable, "This is not a regular file.");
    if (!file.read_to_end(text))
        return diagnosis(State::unreadable, "The file cannot be read to its end.");
    return diagnoseJson(text);
}

JsonFileDiagnosis diagnoseJsonFile(const ustring& path) {
    std::string text;
    return diagnoseJsonFile(path, text);
}

} // namespace install::product_impl::utils
