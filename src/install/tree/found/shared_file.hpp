// A shared JSON file in whatever state it is.

#pragma once

#include "foundation/json/value.hpp"
#include "install/product_impl/utils/json_diagnosis.hpp"
#include "install/tree/fault.hpp"
#include "install/tree/tree_error.hpp"
#include "install/tree/view.hpp"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace install::tree {

// Read once, because another process may replace the file, and parsed once.
struct SharedFile {
    using State = product_impl::utils::JsonFileDiagnosis::State;

    // Reads the file `name` in appdata. Throws std::bad_alloc only.
    SharedFile(const View& view, std::string_view name);

    [[nodiscard]] bool is(State state) const noexcept { return diagnosis.state == state; }
    // Whether there is a text, and it is not that of an object.
    [[nodiscard]] bool is_damaged() const noexcept {
        return is(State::damaged) || is(State::no_object);
    }
    // Returns why the file holds no object; nothing if it holds one.
    [[nodiscard]] std::optional<Fault> fault() const;
    // Throws tree_error unless the file could be read, or does not exist.
    void require_readable() const;
    // Throws tree_error unless it holds an object, or does not exist.
    void require_object() const;

    std::string name; // in appdata
    std::string path;
    std::uint32_t permissions = 0; // none if there is no file
    std::string text;              // all bytes; none if the file could not be read
    product_impl::utils::JsonFileDiagnosis diagnosis;
    // Of the object; of a damaged one, those that are whole before the damage. A byte order mark
    // and whitespace before it are skipped.
    foundation::json::ValueMap members;

private:
    void read(const View& view);

    bool is_regular_ = true;
    std::optional<tree_error> failure_; // why something that is there could not be read
};

} // namespace install::tree
