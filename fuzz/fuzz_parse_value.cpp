// Any text: the reader stays within it, leaves its output alone on failure, and comments make no
// difference to a text without a slash.

#include "fuzz_target.hpp"

#include "support/values.hpp"

namespace json = foundation::json::detail;
using fuzz::require;

namespace {

void require_equal(const fuzz::Reading& left, const fuzz::Reading& right, const char* promise) {
    require(left.code == right.code && left.stop == right.stop && left.out == right.out, promise);
}

void check(const fuzz::Reading& reading, const std::string& text) {
    require(reading.stop <= text.size(), "the reader stays within the text");
    switch (reading.code) {
    case json::parse_ok:
        require(reading.stop > 0, "no value is without text");
        return;
    case json::parse_bad_null:
    case json::parse_bad_boolean:
    case json::parse_string_end:
    case json::parse_no_object_open:
        require(false, "inner codes do not leave the reader");
        return;
    default:
        require(json::describe(reading.code) != json::describe(-1), "every code has a sentence");
        require(test::dump(reading.out) == "\"untouched\"", "a failure leaves the output alone");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    const fuzz::Reading plain = fuzz::read(text, false);
    const fuzz::Reading with_comments = fuzz::read(text, true);
    check(plain, text);
    check(with_comments, text);
    require_equal(plain, fuzz::read(text, false, ' '), "the end of the text is the end");
    require_equal(with_comments, fuzz::read(text, true, '/'), "the end is the end with comments");
    if (text.find('/') == std::string::npos)
        require_equal(plain, with_comments,
                      "comments make no difference to a text without a slash");
    return 0;
}
