// The XML documents, and the first stage of serialize, which writes each of them byte for byte.

#include "fl/i18n/text_conversion.hpp"
#include "install/product_impl/product_impl.hpp"
#include "install/product_impl/utils/files.hpp"
#include "install/product_impl/utils/paths.hpp"

#include <stdexcept>

namespace install::product_impl {

namespace {

const std::string& document_of(const XmlMap& documents, const std::string& tag) {
    const auto document = documents.find(tag);
    // Not thrown by std::map::at, whose text differs between standard libraries.
    if (document == documents.end())
        throw std::out_of_range("map::at:  key not found");
    return document->second;
}

void write_document(const fl::filesystem::path& path, const XmlMap& documents,
                    const std::string& tag) {
    utils::createParentDirectory(path);
    utils::writeFile(path.text(), document_of(documents, tag));
}

} // namespace

std::string ProductImpl::getPlatformXml(const std::string& platform) const {
    return document_of(platformXmls_, platform);
}

std::string ProductImpl::getLocaleXml(const std::string& locale) const {
    return document_of(localeXmls_, locale);
}

void ProductImpl::writeXml(const ustring& installRoot, const std::vector<std::string>& platforms,
                           const std::string& locale) const {
    writeXml(installRoot, platforms, std::vector<std::string>{locale});
}

void ProductImpl::writeXml(const ustring& installRoot, const std::vector<std::string>& platforms,
                           const std::vector<std::string>& locales) const {
    for (const std::string& platform : platforms)
        if (shouldWritePlatformXml(platform))
            writePlatformXml(installRoot, platform);
    for (const std::string& locale : locales)
        if (shouldWriteLocaleXml(locale))
            writeLocaleXml(installRoot, locale);
}

void ProductImpl::writePlatformXml(const ustring& installRoot, const std::string& platform) const {
    const ustring tag = fl::i18n::utf8_to_ustring(platform);
    write_document(utils::getXmlPath(installRoot, name_, version_, tag), platformXmls_, platform);
}

void ProductImpl::writeLocaleXml(const ustring& installRoot, const std::string& locale) const {
    const ustring tag = fl::i18n::utf8_to_ustring(locale);
    write_document(utils::getXmlPath(installRoot, name_, version_, tag), localeXmls_, locale);
}

} // namespace install::product_impl
