// Failures that the command itself finds.

#pragma once

#include <stdexcept>
#include <string>
#include <utility>

namespace kxtree {

/// What cannot be done, in printable text, and what helps.
class Failure : public std::runtime_error {
public:
    /// `hint` is a sentence without a full stop that ends with the command that helps.
    Failure(const std::string& text, std::string hint)
        : std::runtime_error(text),
          hint_(std::move(hint)) {}

    [[nodiscard]] const std::string& hint() const noexcept { return hint_; }

private:
    std::string hint_;
};

} // namespace kxtree
