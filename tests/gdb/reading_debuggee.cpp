// A program that knows of containers only that values hold them: gdb learns nothing of theirs.
#include "foundation/json/detail/parse_value.hpp"

int main() {
    const std::string text = R"({"a":[1,true,null],"b":{"c":"d"}})";
    auto pos = text.begin();
    foundation::json::Value value;
    const int code = foundation::json::detail::parse_value(value, pos, text.end(), false);
    return code; // the debugger stops here
}
