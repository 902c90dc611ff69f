// Any text: the reader stays within it, a failure leaves the output alone, comments make no
// difference to a text without a slash, and what was read survives a round trip, tags included.

#include "fuzz_target.hpp"

#include "foundation/json/serialize.hpp"

namespace json = foundation::json::detail;
using test::Reading;

namespace {

void check(const Reading& reading, const std::string& text) {
    require(reading.stop <= text.size(), "the reader stays within the text");
    if (reading.code == json::parse_ok) {
        const std::string written = foundation::json::serialize(reading.out);
        const Reading again = test::read(written);
        require(again.code == json::parse_ok && again.stop == written.size(),
                "what was written can be read");
        require(again.out == reading.out, "what was written reads back as the same value");
    } else {
        for (const int inner : {json::parse_bad_null, json::parse_bad_boolean,
                                json::parse_string_end, json::parse_no_object_open})
            require(reading.code != inner, "inner codes do not leave the reader");
        require(reading.out == Reading().out, "a failure leaves the output alone");
    }
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    const Reading plain = test::read(text, false);
    const Reading with_comments = test::read(text, true);
    check(plain, text);
    check(with_comments, text);
    require(plain == test::read(text, false, " "), "the end of the text is the end");
    require(with_comments == test::read(text, true, "/"), "the end is the end with comments");
    require(plain == with_comments || text.find('/') != std::string::npos,
            "comments make no difference to a text without a slash");
    return 0;
}
