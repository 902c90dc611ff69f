/// \file
/// Product keys, and the paths of the install tree. Nothing here touches a file.
///
/// Below the install root:
///
///     appdata/products/KEY.xml             an XML document, KEY being the product key
///     appdata/prodcontents.json            the contents map of all products
///     appdata/installedProductData.json    the installed record of all products
///
/// A product key is name, space, version, space and a third text, which is the tag of a platform or
/// a locale, or "hostpf" in the contents map. No text is trimmed, folded or escaped. All texts are
/// UTF-16, and lengths count 16-bit units. Everything raises std::bad_alloc and std::length_error;
/// paths also raise std::invalid_argument where name, version or tag would climb out of the tree by
/// a component "..".

#pragma once

#include "fl/export.hpp"
#include "fl/filesystem/path.hpp"
#include "install/ustring.hpp"

/// Paths and files of an install tree, for those who write it and for those who read or mend it.
///
/// The tree and its keys are described in install/product_impl/utils/paths.hpp, what becomes of
/// files that cannot be read or written in install/product_impl/utils/files.hpp.
namespace install::product_impl::utils {

/// Gives the product key.
[[nodiscard]] KX_EXPORT ustring getNameVersionPlatformKey(const ustring& name,
                                                          const ustring& version,
                                                          const ustring& platform);

/// Gives the product key and ".xml".
[[nodiscard]] KX_EXPORT ustring getXmlFileName(const ustring& name, const ustring& version,
                                               const ustring& platform);

/// Gives the full path of an XML document.
[[nodiscard]] KX_EXPORT fl::filesystem::path getXmlPath(const ustring& installRoot,
                                                        const ustring& name, const ustring& version,
                                                        const ustring& platform);

/// Gives the path of an XML document without the install root, so that the root followed by it is
/// the full path again: with a root that ends in no separator it begins with one. Raises
/// std::out_of_range if the root is longer than the full path.
[[nodiscard]] KX_EXPORT fl::filesystem::path getRelativeXmlPath(const ustring& installRoot,
                                                                const ustring& name,
                                                                const ustring& version,
                                                                const ustring& platform);

/// Gives the full path of the contents map.
[[nodiscard]] KX_EXPORT fl::filesystem::path getContentsMapPath(const ustring& installRoot);

/// Gives the full path of the installed record.
[[nodiscard]] KX_EXPORT fl::filesystem::path getInstalledProdDataPath(const ustring& installRoot);

} // namespace install::product_impl::utils
