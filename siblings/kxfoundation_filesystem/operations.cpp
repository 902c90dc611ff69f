#include "fl/filesystem/operations.hpp"

#include "fl/filesystem/native_access.hpp"

#include <filesystem>

namespace fl::filesystem {

bool exists(const ustring& pathname) {
    return std::filesystem::exists(detail::make_native_access_form_with_cleanup_i18n(pathname));
}

bool exists(const path& pathname) {
    return exists(pathname.text());
}

void create_directories(const ustring& pathname) {
    if (!pathname.empty())
        std::filesystem::create_directories(
            detail::make_native_access_form_with_cleanup_i18n(pathname));
}

} // namespace fl::filesystem
