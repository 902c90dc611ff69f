#include "root.hpp"

#include "fl/i18n/text_conversion.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree_names.hpp"

#include <system_error>

namespace kxtree {

namespace fs = std::filesystem;
namespace names = install::tree_names;

Root::Root(const std::string& root) : given_(root), path_(root) {
    try {
        name_ = fl::i18n::utf8_to_ustring(path_);
    } catch (const fl::i18n::conversion_error&) {
        previous_ = fs::current_path();
        std::error_code code;
        fs::current_path(root, code);
        if (code)
            throw install::tree::tree_error("open", root, code);
        path_ = ".";
        name_ = u".";
    }
}

Root::~Root() {
    std::error_code code;
    if (previous_)
        fs::current_path(*previous_, code);
}

std::string Root::as_given(const std::string& file) const {
    return previous_ && file.starts_with(path_) ? given_ + file.substr(path_.size()) : file;
}

std::string Root::path_of(std::string_view file) const {
    const std::string separator = path_.empty() || path_.ends_with('/') ? "" : "/";
    return path_ + separator + names::join(names::appdata, file);
}

} // namespace kxtree
