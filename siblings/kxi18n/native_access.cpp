#include "fl/filesystem/native_access.hpp"

#include "fl/i18n/text_conversion.hpp"

#include <stdexcept>

namespace fl::filesystem::detail {

std::string make_native_access_form_with_cleanup_i18n(const ustring& path) {
    std::string native = i18n::ustring_to_utf8(path);
    if (const auto nul = native.find('\0'); nul != std::string::npos)
        throw std::invalid_argument("path contains a NUL character after: " +
                                    native.substr(0, nul));
    return native;
}

} // namespace fl::filesystem::detail
