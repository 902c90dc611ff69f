// The names of kinds.

#include "install/tree/change.hpp"
#include "install/tree/fault.hpp"

namespace install::tree {

const char* name_of(ChangeStep::Kind kind) noexcept {
    using Kind = ChangeStep::Kind;
    return kind == Kind::create ? "create" : kind == Kind::replace ? "replace" : "remove";
}

const char* name_of(Fault::Kind kind) noexcept {
    using Kind = Fault::Kind;
    switch (kind) { // without a default, so that the compiler warns about a new kind
    case Kind::missing:
        return "missing";
    case Kind::empty:
        return "empty";
    case Kind::different:
        return "different";
    case Kind::old:
        return "old";
    case Kind::no_list:
        return "no_list";
    case Kind::outside:
        return "outside";
    case Kind::other_key:
        return "other_key";
    case Kind::no_time:
        return "no_time";
    case Kind::not_listed:
        return "not_listed";
    case Kind::damaged:
        return "damaged";
    case Kind::trailing_bytes:
        return "trailing_bytes";
    case Kind::not_regular:
        return "not_regular";
    case Kind::unreadable:
        return "unreadable";
    case Kind::interrupted:
        return "interrupted";
    case Kind::fewer_readers:
        return "fewer_readers";
    case Kind::not_restored:
        return "not_restored";
    }
    return "unknown";
}

} // namespace install::tree
