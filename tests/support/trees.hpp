// Products for install trees, and the files of a tree.

#pragma once

#include "install/tree/install_tree.hpp"
#include "support/temporary_directory.hpp"

#include <chrono>
#include <filesystem>
#include <map>
#include <memory>
#include <regex>
#include <string>
#include <vector>

namespace test {

inline const std::string contents_map = "appdata/prodcontents.json";
inline const std::string installed_record = "appdata/installedProductData.json";
inline const std::string receipts = "appdata/receipts.json";
inline const std::string products = "appdata/products/";

/// The product `name` 1, whose basecode is its name, with documents for hostpf and en, and en once
/// more as a platform.
inline install::tree::ProductSelection selection(const install::ustring& name,
                                                 const install::ustring& text = u"<a/>",
                                                 const install::ustring* basecode = nullptr) {
    install::datamodels::transitive_closure::Product model;
    model->basecode = basecode == nullptr ? name : *basecode;
    model->name = name;
    model->version = u"1";
    model->platformXmls = {{u"hostpf", text}, {u"en", text + u"platform"}};
    model->localeXmls = {{u"en", text + u"locale"}};
    return {std::make_shared<install::product_impl::ProductImpl>(model), {"hostpf"}, "en"};
}

/// The regular files but those that end in one of the suffixes; all times from
/// 2023 to 2033 are the same.
inline std::map<std::string, std::string> files_of(const TemporaryDirectory& tree,
                                                   const std::string& suffix = ".lock") {
    std::map<std::string, std::string> files;
    for (const std::string& name : tree.files())
        if (!name.ends_with(".lock") && !name.ends_with(suffix) &&
            std::filesystem::is_regular_file(tree.path(name)))
            files[name] = tree.content(name);
    for (auto& [name, text] : files)
        if (name.starts_with(installed_record) || name.starts_with(receipts))
            text = std::regex_replace(text, std::regex(":1[7-9][0-9]{11}"), ":NOW");
    return files;
}

/// The kinds of the faults, each with a space after it.
inline std::string kinds_of(const std::vector<install::tree::Fault>& faults) {
    std::string kinds;
    for (const auto& fault : faults)
        kinds += name_of(fault.kind) + std::string(" ");
    return kinds;
}

/// Waits until a file that is written now is later than everything that was written before, and so
/// is the time in it.
inline void wait_for_later_time(const TemporaryDirectory& tree) {
    namespace fs = std::filesystem;
    using std::chrono::system_clock;
    const auto now = std::chrono::ceil<std::chrono::milliseconds>(system_clock::now());
    while (system_clock::now() <= now) {
    }
    tree.write("clock", "");
    const auto begin = fs::last_write_time(tree.path("clock"));
    while (fs::last_write_time(tree.path("clock")) <= begin)
        tree.write("clock", "");
    fs::remove(tree.path("clock"));
}

inline std::unique_ptr<TemporaryDirectory> copy_of(const TemporaryDirectory& tree) {
    auto copy = std::make_unique<TemporaryDirectory>();
    std::filesystem::copy(tree.path(), copy->path(), std::filesystem::copy_options::recursive);
    return copy;
}

} // namespace test
