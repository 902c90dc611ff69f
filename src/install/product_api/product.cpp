#include "install/product_api/product.hpp"

namespace install::product_api {

// Here, so that the class has one home for its virtual table.
Product::~Product() = default;

} // namespace install::product_api
