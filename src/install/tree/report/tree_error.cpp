#include "install/tree/tree_error.hpp"

#include "install/tree/printable_text.hpp"

namespace install::tree {

struct tree_error::Names {
    std::string operation;
    std::string path;
};

tree_error::tree_error(const std::string& operation, const std::string& path, std::error_code code)
    : tree_error(operation, path, code, code.message()) {}

tree_error::tree_error(const std::string& operation, const std::string& path, std::error_code code,
                       const std::string& reason)
    : tree_error(operation, path, reason) {
    code_ = code;
}

tree_error::tree_error(const std::string& operation, const std::string& path,
                       const std::string& reason)
    : std::runtime_error("cannot " + operation + " " + printable_text(path) + ": " +
                         printable_text(reason)),
      names_(std::make_shared<const Names>(Names{operation, path})) {}

tree_error::tree_error(const tree_error& failure, Outcome outcome, const std::string& sentence)
    : std::runtime_error(failure.what() + ("; " + sentence)),
      names_(failure.names_),
      code_(failure.code_),
      outcome_(outcome) {}

tree_error::~tree_error() = default;

const std::string& tree_error::operation() const noexcept {
    return names_->operation;
}

const std::string& tree_error::path() const noexcept {
    return names_->path;
}

} // namespace install::tree
