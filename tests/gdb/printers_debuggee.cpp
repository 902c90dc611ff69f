// Values for the debugger to show.
#include "fl/i18n/ustring.hpp"
#include "foundation/json/value.hpp"

using namespace foundation::json;

int main() {
    ValueMap members;
    members.emplace("list", ValueVector(2, Value(true)));
    members.emplace("a key that lies on the heap", Value(std::string("and its text")));
    members.emplace("\"quoted\"", Value(ValueMap()));
    const Value document(ValueVector{Value(members), Value(Null()), Value(ValueVector())});
    const Value scalars[] = {Value(),     Value(Null()), Value(true), Value(false), Value(2.0),
                             Value(0.1F), Value(-7LL),   Value(7ULL), Value(0.1)};
    const Value text(std::string("\xC3\xA4\xFF\n\x1B\0\\", 7));
    const Value many(ValueVector(100000, Value(7ULL)));
    Value moved_array((ValueVector(1)));
    Value moved_object(members);
    const Value taken[] = {std::move(moved_array), std::move(moved_object)};

    ValueMap tree;
    for (const char* key : {"d", "b", "f", "a", "c", "e", "g"})
        tree.emplace(key, Value(ValueMap()));
    const Value balanced(tree);

    const fl::ustring name = u"\U0001F600\u00E4\u202E\"";
    const char16_t units[] = {0, 0, 0, 0, 0xDE00, 0xD83D, u'z'};
    const fl::ustring halves(units, 7);
    const fl::ustring none;
    const fl::ustring endless(100000, u'x');
    return taken[0].tag() == many.tag() ? 0 : 1; // the debugger stops here
}
