#include "install/product_api/product.hpp"

namespace install::product_api {

// Defined here, so that the virtual table is emitted once.
Product::~Product() = default;

} // namespace install::product_api
