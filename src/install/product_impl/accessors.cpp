// The getters. Those of the abstract product return a copy of one member.

#include "install/product_impl/product_impl.hpp"

namespace install::product_impl {

namespace {

std::vector<std::string> tags_of(const XmlMap& documents) {
    std::vector<std::string> tags;
    tags.reserve(documents.size());
    for (const auto& [tag, document] : documents)
        tags.push_back(tag);
    return tags;
}

} // namespace

ustring ProductImpl::getBasecode() const {
    return basecode_;
}

ustring ProductImpl::getName() const {
    return name_;
}

ustring ProductImpl::getNumber() const {
    return number_;
}

ustring ProductImpl::getType() const {
    return type_;
}

ustring ProductImpl::getVersion() const {
    return version_;
}

ustring ProductImpl::getRelease() const {
    return release_;
}

ustring ProductImpl::getReleaseDescription() const {
    return releaseDescription_;
}

bool ProductImpl::isControlling() const {
    return controlling_;
}

std::int64_t ProductImpl::getInstalledDate() const {
    return installedDate_;
}

std::set<ustring> ProductImpl::getPlatforms() const {
    return platforms_;
}

RequiredProductMap ProductImpl::getRequiredProducts() const {
    return requiredProducts_;
}

std::vector<ustring> ProductImpl::getRequiredProductsBasecodes() const {
    return requiredProductsBasecodes_;
}

void ProductImpl::setRequiredProducts(const RequiredProductMap& products) {
    // The earlier products, which may own `products`, die last.
    RequiredProductMap copy = products;
    requiredProducts_.swap(copy);
}

ComponentMap ProductImpl::getComponents() const {
    return components_;
}

std::vector<AltDependency> ProductImpl::getAltDependencies() const {
    return altDependencies_;
}

std::vector<std::string> ProductImpl::getPlatformXmlTags() const {
    return tags_of(platformXmls_);
}

std::vector<std::string> ProductImpl::getLocaleXmlTags() const {
    return tags_of(localeXmls_);
}

bool ProductImpl::shouldWritePlatformXml(const std::string& platform) const {
    return platformXmls_.contains(platform);
}

bool ProductImpl::shouldWriteLocaleXml(const std::string& locale) const {
    return localeXmls_.contains(locale);
}

} // namespace install::product_impl
