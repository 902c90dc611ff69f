/// \file
/// The failure of an operation on an install tree.

#pragma once

#include "fl/export.hpp"

#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

/// Changes of install trees that are done as a whole or not at all; health and repair of trees.
namespace install::tree {

/// Reports what could not be done, to which file, and why. Copies share their texts, so that
/// copying never throws.
class KX_EXPORT tree_error : public std::runtime_error {
public:
    /// An operation that the system refused: `operation` is a verb ("write"), `path` the file's
    /// path in the encoding of the file system. what() is "cannot write PATH: REASON", and is
    /// printable.
    tree_error(const std::string& operation, const std::string& path, std::error_code code);

    /// The same for another reason, a text in UTF-8.
    tree_error(const std::string& operation, const std::string& path, const std::string& reason);
    /// The same for another reason, where it is an error of the system, too.
    tree_error(const std::string& operation, const std::string& path, std::error_code code,
               const std::string& reason);

    /// Defined in the library, so that the type is the same in every module that catches it.
    ~tree_error() override;
    // An exception must not throw while it is copied.
    tree_error(const tree_error&) noexcept = default;
    tree_error& operator=(const tree_error&) noexcept = default;

    /// Returns the operation, a verb.
    [[nodiscard]] const std::string& operation() const noexcept;
    /// Returns the path of the file, in the encoding of the file system.
    [[nodiscard]] const std::string& path() const noexcept;
    /// Returns the system's error; 0 where the reason is another.
    [[nodiscard]] std::error_code code() const noexcept { return code_; }

    /// Returns whether the change was made: all of it is in its place, but the disk did not confirm
    /// that this would survive a failure of power. Otherwise the tree is as it was.
    [[nodiscard]] bool is_committed() const noexcept { return committed_; }

    /// Returns the same error for a change that was made, with the system's error.
    [[nodiscard]] tree_error as_committed(std::error_code code) const noexcept;

private:
    struct Names;
    std::shared_ptr<const Names> names_;
    std::error_code code_;
    bool committed_ = false;
};

} // namespace install::tree
