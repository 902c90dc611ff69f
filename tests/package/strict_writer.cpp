// An installed JSON library may take nothing but objects. This one does: it is the stand-in, whose
// writer is compiled under the name write_any.

#include "foundation/json/serialize.hpp"
#include "foundation/json/value.hpp"

#include <stdexcept>

namespace foundation::json {

std::string write_any(const Value& value);

std::string serialize(const Value& value) {
    if (value.tag() != traits<ValueMap>::tag)
        throw std::logic_error("the writer was given something else than an object");
    return write_any(value);
}

} // namespace foundation::json
