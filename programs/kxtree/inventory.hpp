// What is installed, for programs that keep track of components.

#pragma once

#include "install/tree/health.hpp"
#include "root.hpp"

#include <optional>
#include <string>

namespace kxtree {

/// When an inventory is made, and the number that identifies it.
struct Edition {
    install::tree::InstallTree::Time time;
    std::optional<std::string> serial_number; ///< a URN; none where editions have to be equal
};

/// Returns the present time and a random number. If the environment has SOURCE_DATE_EPOCH, in
/// seconds since 1970, returns that time and no number. Throws Failure if it is not such a time.
[[nodiscard]] Edition next_edition();

/// Returns the products of an inspected tree as a CycloneDX document of version 1.6: one JSON
/// object with a line end, escaped like the output of all commands. A document that differs from
/// its receipt has no hash. `compares_contents` says whether texts were compared, or sizes alone.
[[nodiscard]] std::string inventory_as_json(const Root& root, const install::tree::Health& health,
                                            bool compares_contents, const Edition& edition);

} // namespace kxtree
