// What was read is written so that it reads back as the same value, tags included.

#include "fuzz_target.hpp"

#include "foundation/json/serialize.hpp"
#include "support/values.hpp"

using fuzz::require;

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::Reading first = fuzz::read(std::string(data, data + size), false);
    if (first.code != 0)
        return 0;
    const std::string written = foundation::json::serialize(first.out);
    const fuzz::Reading second = fuzz::read(written, false);
    require(second.code == 0 && second.stop == written.size(), "what was written can be read");
    require(second.out == first.out, "what was written reads back as the same value");
    return 0;
}
