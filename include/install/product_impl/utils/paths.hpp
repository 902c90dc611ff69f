/// \file
/// Product keys, and the paths of the install tree. No operation here accesses the file system.
///
/// Below the install root:
///
///     appdata/products/KEY.xml             an XML document, KEY being the product key
///     appdata/prodcontents.json            the contents map of all products
///     appdata/installedProductData.json    the installed record of all products
///
/// A product key is a name, a space, a version, a space and a tag: that of a platform or a locale,
/// or "hostpf" in the contents map. Nothing is trimmed, case-folded or escaped. All strings
/// are UTF-16, and lengths are in 16-bit units. All operations throw std::bad_alloc and
/// std::length_error. Those that return the path of an XML document also throw
/// std::invalid_argument if name, version and tag form a path with a component "..", which could
/// lie outside of the tree.

#pragma once

#include "fl/export.hpp"
#include "fl/filesystem/path.hpp"
#include "install/ustring.hpp"

/// Paths and files of an install tree, for programs that write, read or repair it.
///
/// install/product_impl/utils/paths.hpp describes the tree and its keys, and
/// install/product_impl/utils/files.hpp what happens if a file cannot be read or written.
namespace install::product_impl::utils {

/// Returns the product key with the tag `platform`.
[[nodiscard]] KX_EXPORT ustring getNameVersionPlatformKey(const ustring& name,
                                                          const ustring& version,
                                                          const ustring& platform);

/// Returns the product key, followed by ".xml".
[[nodiscard]] KX_EXPORT ustring getXmlFileName(const ustring& name, const ustring& version,
                                               const ustring& platform);

/// Returns the full path of an XML document.
[[nodiscard]] KX_EXPORT fl::filesystem::path getXmlPath(const ustring& installRoot,
                                                        const ustring& name, const ustring& version,
                                                        const ustring& platform);

/// Returns the full path of an XML document without the install root: the root followed by the
/// result is the full path. So the result begins with a separator unless the root is empty or ends
/// with one. Throws std::out_of_range if the root is longer than the full path.
[[nodiscard]] KX_EXPORT fl::filesystem::path getRelativeXmlPath(const ustring& installRoot,
                                                                const ustring& name,
                                                                const ustring& version,
                                                                const ustring& platform);

/// Returns the full path of the contents map.
[[nodiscard]] KX_EXPORT fl::filesystem::path getContentsMapPath(const ustring& installRoot);

/// Returns the full path of the installed record.
[[nodiscard]] KX_EXPORT fl::filesystem::path getInstalledProdDataPath(const ustring& installRoot);

} // namespace install::product_impl::utils
