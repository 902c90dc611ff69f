// The names of kinds, in their order.

#include "install/tree/change.hpp"
#include "install/tree/fault.hpp"

#include <cstddef>
#include <iterator>

namespace install::tree {

const char* name_of(ChangeStep::Kind kind) noexcept {
    constexpr const char* names[] = {"create", "replace", "remove"};
    return names[static_cast<std::size_t>(kind)];
}

const char* name_of(Fault::Kind kind) noexcept {
    constexpr const char* names[] = {
        "missing",        "empty",        "different",  "old",         "no_list",
        "outside",        "other_key",    "no_time",    "not_listed",  "damaged",
        "trailing_bytes", "not_regular",  "unreadable", "interrupted", "fewer_readers",
        "not_restored",   "repeated_key", "not_utf8",   "swapped",     "other_writer"};
    static_assert(std::size(names) == static_cast<std::size_t>(Fault::Kind::other_writer) + 1);
    return names[static_cast<std::size_t>(kind)];
}

} // namespace install::tree
