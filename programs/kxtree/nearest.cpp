#include "nearest.hpp"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <tuple>
#include <utility>

namespace kxtree {

namespace {

// The number of bytes to insert, remove or replace, to make of a text a name.
struct Distance {
    std::size_t to_beginning; // to the nearest beginning of the name
    std::size_t to_name;      // to the whole name

    bool operator<(const Distance& other) const {
        return std::tie(to_beginning, to_name) < std::tie(other.to_beginning, other.to_name);
    }
};

Distance distance(std::string_view text, std::string_view name) {
    std::vector<std::size_t> row(name.size() +
                                 1); // from what is read of the text to each beginning
    std::iota(row.begin(), row.end(), 0U);
    for (const char letter : text) {
        std::size_t diagonal = row.front()++;
        for (std::size_t index = 0; index < name.size(); ++index) {
            const std::size_t replaced = diagonal + (name[index] == letter ? 0 : 1);
            diagonal = row[index + 1];
            row[index + 1] = std::min({replaced, row[index] + 1, diagonal + 1});
        }
    }
    return {*std::ranges::min_element(row), row.back()};
}

} // namespace

std::optional<std::string> nearest(std::string_view text, const std::vector<std::string>& names) {
    std::optional<std::string> best;
    Distance least = {(text.size() + 2) / 3, 0}; // as many differences make another word
    for (const std::string& name : names)
        if (const Distance found = distance(text, name); found < least) {
            least = found;
            best = name;
        }
    return best;
}

} // namespace kxtree
