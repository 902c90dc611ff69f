// What the benchmarks work on.

#pragma once

#include "install/product_impl/product_impl.hpp"

#include <cstddef>
#include <string>
#include <vector>

namespace benchmarks {

/// The contents map of `products` products with four XML paths each, as the library writes it.
[[nodiscard]] std::string contents_map(std::size_t products);

/// The installed record of `products` products.
[[nodiscard]] std::string installed_record(std::size_t products);

/// A typed value of 64-bit integers of all lengths.
[[nodiscard]] std::string typed_integers(std::size_t count);

/// An array of strings in which every third character is an escape.
[[nodiscard]] std::string escapes(std::size_t strings);

/// One product of such a contents map, from its middle, with four documents; and the tags to write
/// it for.
[[nodiscard]] install::product_impl::ProductImpl product_to_update(std::size_t products);
inline const std::vector<std::string> platforms = {"amd64", "arm64", "riscv64"};
inline const std::string locale = "en";

/// The key of that product's entry, and the paths that it lists.
[[nodiscard]] std::string updated_key(std::size_t products);
[[nodiscard]] std::vector<std::string> updated_paths(std::size_t products);

} // namespace benchmarks
