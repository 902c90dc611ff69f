// The input of the benchmarks.

#pragma once

#include "install/product_impl/product_impl.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace benchmarks {

/// Returns the contents map of `products` products with four XML paths each, as the library writes
/// it.
[[nodiscard]] std::string contents_map(std::size_t products);

/// Returns the installed record of `products` products.
[[nodiscard]] std::string installed_record(std::size_t products);

/// Returns a typed value of `count` integers of all lengths up to 64 bits.
[[nodiscard]] std::string typed_integers(std::size_t count);

/// Returns an array of `strings` strings in which every third character is an escape.
[[nodiscard]] std::string escapes(std::size_t strings);

/// Returns the product in the middle of such a contents map, with four documents.
[[nodiscard]] install::product_impl::ProductImpl product_to_update(std::size_t products);

/// The tags of its documents.
inline const std::vector<std::string> platforms = {"amd64", "arm64", "riscv64"};
inline const std::string locale = "en";

/// Return the key of that product's entry, and the paths that the entry lists.
[[nodiscard]] std::string updated_key(std::size_t products);
[[nodiscard]] std::vector<std::string> updated_paths(std::size_t products);

} // namespace benchmarks
