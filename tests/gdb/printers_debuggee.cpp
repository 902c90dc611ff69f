// Values for the debugger to show.
#include "fl/i18n/ustring.hpp"
#include "foundation/json/value.hpp"

using namespace foundation::json;

int main() {
    Value moved[] = {
        Value(ValueVector{Value(), Value(Null()), Value(true), Value(2.0),
                          Value(std::string("text")), Value(0.5F), Value(-7LL), Value(7ULL),
                          Value(ValueVector())}),
        Value(ValueMap{{"list", Value(ValueVector{Value(false)})}, {"none", Value(ValueMap())}})};
    const Value taken[] = {std::move(moved[0]), std::move(moved[1])};
    const fl::ustring name = u"\U0001F600\u00E4";
    __builtin_trap(); // gdb stops here
}
