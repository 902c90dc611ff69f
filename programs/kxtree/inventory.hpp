// What is installed, for programs that keep track of components.

#pragma once

#include "install/tree/health.hpp"
#include "root.hpp"

#include <optional>
#include <string>

namespace kxtree {

/// When a document is made, and the number by which it is told from all others.
struct Edition {
    install::tree::InstallTree::Time time;
    std::optional<std::string> serial_number; ///< an URN; none where editions are to be equal
};

/// Returns the time at which this is called and a random number; or the time that the variable
/// SOURCE_DATE_EPOCH of the environment has, in seconds since 1970, and no number. Throws Failure
/// if that is no such time.
[[nodiscard]] Edition next_edition();

/// Returns the products of an inspected tree as a CycloneDX document of version 1.6: one JSON
/// object with a line end, escaped like the output of all commands. A document that differs from
/// its receipt has no hash. `compares_contents`: whether that was found by the texts, or by the
/// sizes alone.
[[nodiscard]] std::string inventory_as_json(const Root& root, const install::tree::Health& health,
                                            bool compares_contents, const Edition& edition);

} // namespace kxtree
