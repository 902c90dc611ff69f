#include "install/datamodels/transitive_closure/product.hpp"

namespace install::datamodels::transitive_closure {

Product::Product() : data_(std::make_shared<Impl>()) {}

const std::set<ustring>& Product::Impl::getPlatforms() const noexcept {
    return platforms;
}

const Product::Impl::Products& Product::Impl::getRequiredProducts() const noexcept {
    return requiredProducts;
}

const Product::Impl::Components& Product::Impl::getDirectRequiredComponents() const noexcept {
    return directRequiredComponents;
}

const Product::Impl::Xmls& Product::Impl::getPlatformXmls() const noexcept {
    return platformXmls;
}

const Product::Impl::Xmls& Product::Impl::getLocaleXmls() const noexcept {
    return localeXmls;
}

const std::vector<AltDependency>& Product::Impl::getAltDependencies() const noexcept {
    return altDependencies;
}

} // namespace install::datamodels::transitive_closure
