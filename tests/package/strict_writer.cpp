// A JSON library whose writer accepts objects alone, and ends its text with a line end, as an
// installed one may. It wraps the writer of the stand-in, which is compiled under the name
// write_any.

#include "foundation/json/serialize.hpp"
#include "foundation/json/value.hpp"

#include <stdexcept>

namespace foundation::json {

std::string write_any(const Value& value);

std::string serialize(const Value& value) {
    if (value.tag() != traits<ValueMap>::tag)
        throw std::logic_error("the value to write is not an object");
    return write_any(value) + '\n';
}

} // namespace foundation::json
