#include "fl/filesystem/path.hpp"

#include "fl/i18n/text_conversion.hpp"

#include <stdexcept>
#include <string_view>

namespace fl::filesystem::detail {

namespace {

constexpr char16_t separator = u'/';

// Whether a component of `element` is "..".
bool climbs(std::u16string_view element) {
    for (;;) {
        const auto component_end = element.find(separator);
        if (element.substr(0, component_end) == u"..")
            return true;
        if (component_end == std::u16string_view::npos)
            return false;
        element.remove_prefix(component_end + 1);
    }
}

std::string for_message(const ustring& element) {
    try {
        return i18n::ustring_to_utf8(element);
    } catch (const i18n::conversion_error& error) {
        return error.what();
    }
}

} // namespace

ustring make_native_form(const ustring& text, bool /*native*/) {
    return text;
}

void concatenate_pathname(ustring& path, const ustring& element, bool /*native*/) {
    if (climbs(element))
        throw std::invalid_argument("path element climbs out of its directory: " +
                                    for_message(element));
    // The element may be the text of the path itself, and grow with it.
    const std::size_t element_size = element.size();
    const bool separate = !path.empty() && path.back() != separator;
    path.reserve(path.size() + (separate ? 1 : 0) + element_size);
    if (separate)
        path += separator;
    path.append(element, 0, element_size);
}

ustring extract_parent_path(const ustring& path) {
    const auto last_separator = path.rfind(separator);
    if (last_separator == ustring::npos)
        return {};
    return path.substr(0, last_separator == 0 ? 1 : last_separator);
}

} // namespace fl::filesystem::detail
