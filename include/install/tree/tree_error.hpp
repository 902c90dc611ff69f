/// \file
/// The failure of an operation on an install tree.

#pragma once

#include "fl/export.hpp"

#include <memory>
#include <stdexcept>
#include <string>
#include <system_error>

/// Changes of install trees that are made completely or not at all; inspection and repair of trees.
namespace install::tree {

/// Reports what could not be done, to which file, and why. Copies share their strings, so that
/// copying never throws.
class KX_EXPORT tree_error : public std::runtime_error {
public:
    /// What became of the tree.
    enum class Outcome {
        unchanged, ///< it is as it was
        /// The change is made, but the disk did not confirm that it would survive a power failure.
        committed,
        /// The change could not be rolled back yet. Readers of this library see the tree as it was.
        /// Other programs do so after the next change, InstallTree::recover or
        /// `kxtree repair --apply`, each of which rolls it back.
        interrupted,
    };

    /// An operation that the system refused: `operation` is a verb ("write"), `path` the file's
    /// path in the encoding of the file system. what() is "cannot write PATH: REASON", and is
    /// printable.
    tree_error(const std::string& operation, const std::string& path, std::error_code code);

    /// The same for another reason, a string in UTF-8.
    tree_error(const std::string& operation, const std::string& path, const std::string& reason);
    /// The same for a reason in UTF-8 and the error of the system that it describes.
    tree_error(const std::string& operation, const std::string& path, std::error_code code,
               const std::string& reason);

    /// The same failure with its outcome, and a sentence about that at the end of what().
    tree_error(const tree_error& failure, Outcome outcome, const std::string& sentence);

    /// Defined in the library, so that the type is the same in every module that catches it.
    ~tree_error() override;
    // An exception must not throw while it is copied.
    tree_error(const tree_error&) noexcept = default;
    tree_error& operator=(const tree_error&) noexcept = default;

    /// Returns the operation, a verb.
    [[nodiscard]] const std::string& operation() const noexcept;
    /// Returns the path of the file, in the encoding of the file system.
    [[nodiscard]] const std::string& path() const noexcept;
    /// Returns the system's error; 0 if the reason is not an error of the system.
    [[nodiscard]] std::error_code code() const noexcept { return code_; }
    /// Returns what became of the tree.
    [[nodiscard]] Outcome outcome() const noexcept { return outcome_; }

private:
    struct Names;
    std::shared_ptr<const Names> names_;
    std::error_code code_;
    Outcome outcome_ = Outcome::unchanged;
};

} // namespace install::tree
