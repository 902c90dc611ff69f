// Writes the packages of a catalogue as products to an install tree:
//
//     write_tree [--at-once | --upgrade] [--only-mount] ROOT [CATALOGUE]
//
// Without CATALOGUE it reads standard input. The products write themselves one by one; with
// --at-once, all of them are one change of the tree, and with --upgrade, this change also removes
// their other versions. --only-mount says that no other mount of the file system changes the tree.
// Exit status: 0 if every line was written, 1 if a line was malformed or a file could not be
// written, 2 if there was nothing to write or an argument was invalid.

#include "catalogue.hpp"
#include "products.hpp"
#include "report.hpp"

#include "fl/i18n/text_conversion.hpp"
#include "install/product_impl/utils/paths.hpp"
#include "install/tree/install_tree.hpp"
#include "install/tree/printable_text.hpp"

#include <chrono>
#include <exception>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <map>

#include <unistd.h>

namespace {

using namespace write_tree;

constexpr int all_written = 0;
constexpr int some_failed = 1;
constexpr int not_begun = 2;

enum class Writing { one_by_one, at_once, upgrade };

Writing writing_of(const std::string& option) {
    return option == "--at-once"   ? Writing::at_once
           : option == "--upgrade" ? Writing::upgrade
                                   : Writing::one_by_one;
}

// A line of progress that overwrites itself. Shown only on a terminal.
class Progress {
public:
    explicit Progress(std::size_t total) : total_(total) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() {
        if (on_terminal_)
            std::cerr << "\r\033[K";
    }
    void show(std::size_t done, const std::string& name) const {
        if (on_terminal_)
            std::cerr << "\r\033[K" << done << " of " << total_ << "  " << name << std::flush;
    }

private:
    std::size_t total_;
    bool on_terminal_ = isatty(STDERR_FILENO) == 1;
};

using fl::i18n::ustring_to_utf8;
using install::product_impl::utils::getNameVersionPlatformKey;
using install::tree::InstallTree;
using install::tree::ProductSelection;

std::vector<ProductSelection> selections(const std::vector<Package>& packages,
                                         const std::vector<ProductPointer>& products) {
    std::vector<ProductSelection> all;
    all.reserve(packages.size());
    for (std::size_t index = 0; index < packages.size(); ++index)
        all.push_back({products[index], {packages[index].architecture}, locale});
    return all;
}

void write_one_by_one(const install::ustring& install_root, const std::vector<Package>& packages,
                      const std::vector<ProductSelection>& all) {
    const Progress progress(all.size());
    for (std::size_t index = 0; index < all.size(); ++index) {
        progress.show(index, packages[index].name);
        all[index].product->serialize(install_root, all[index].platforms, all[index].locale);
    }
}

// Returns the other versions of products: what is installed with the same basecode and another key.
std::vector<install::tree::InstalledProduct>
other_versions(const InstallTree& tree, const std::vector<ProductSelection>& all) {
    std::map<std::string, std::string> keys; // by the basecode
    for (const ProductSelection& selection : all) {
        const auto& product = *selection.product;
        keys[ustring_to_utf8(product.getBasecode())] = ustring_to_utf8(
            getNameVersionPlatformKey(product.getName(), product.getVersion(), u"hostpf"));
    }
    std::vector<install::tree::InstalledProduct> others;
    for (const auto& receipt : tree.list().receipts)
        if (const auto found = keys.find(receipt.basecode);
            found != keys.end() && found->second != receipt.key)
            others.push_back({receipt.key, {}});
    return others;
}

void write(Writing writing, InstallTree& tree, const install::ustring& install_root,
           const std::vector<Package>& packages, const std::vector<ProductSelection>& all) {
    if (writing == Writing::one_by_one)
        write_one_by_one(install_root, packages, all);
    else if (writing == Writing::at_once)
        tree.write(all);
    else
        tree.apply({.remove = other_versions(tree, all), .write = all});
}

// Products do not report what they could not write. Prints all that is not there; a time of the
// installed record from before `start` is that of an earlier write. Returns whether everything is
// there.
bool report_missing(const InstallTree& tree, const std::vector<ProductSelection>& all,
                    std::chrono::system_clock::time_point start) {
    const auto faults = tree.verify(all, std::chrono::floor<std::chrono::milliseconds>(start));
    for (const auto& fault : faults)
        std::cerr << "not written: " << install::tree::printable_text(fault.path) << ": "
                  << fault.text << '\n';
    return faults.empty();
}

int run(const std::string& root, std::istream& stream, Writing writing, bool only_mount) {
    const install::ustring install_root = fl::i18n::utf8_to_ustring(root);
    const Catalogue catalogue = read_catalogue(stream);
    for (const Fault& fault : catalogue.faults)
        std::cerr << "line " << fault.line << ": " << fault.reason << '\n';
    if (catalogue.packages.empty()) {
        std::cerr << "write_tree: no package in the catalogue\n";
        return not_begun;
    }
    const Products products(catalogue.packages);
    const std::vector<ProductSelection> all = selections(catalogue.packages, products.all());

    InstallTree tree(install_root, {.only_mount = only_mount,
                                    .missing_documents = install::tree::MissingDocuments::refuse});
    const auto start = std::chrono::system_clock::now();
    write(writing, tree, install_root, catalogue.packages, all);
    const std::chrono::duration<double> elapsed = std::chrono::system_clock::now() - start;

    const bool all_there = report_missing(tree, all, start);
    const TreeCount count = count_tree(root);
    std::cout << "products   " << all.size() << '\n'
              << "XML files  " << count.xml_files << '\n'
              << "bytes      " << count.bytes << '\n'
              << "seconds    " << std::fixed << std::setprecision(2) << elapsed.count() << "\n\n";
    print_top_of_tree(std::cout, root);
    return catalogue.faults.empty() && all_there ? all_written : some_failed;
}

} // namespace

int main(int argc, char** argv) {
    const Writing writing = writing_of(argc > 1 ? argv[1] : "");
    int options = writing == Writing::one_by_one ? 0 : 1;
    const bool only_mount = argc > options + 1 && argv[options + 1] == std::string("--only-mount");
    options += only_mount ? 1 : 0;
    const std::vector<std::string> arguments(argv + 1 + options, argv + argc);
    if (arguments.empty() || arguments.size() > 2) {
        std::cerr << "usage: write_tree [--at-once | --upgrade] [--only-mount] ROOT [CATALOGUE]\n";
        return not_begun;
    }
    try {
        if (arguments.size() == 1)
            return run(arguments[0], std::cin, writing, only_mount);
        std::ifstream file(arguments[1]);
        if (!file) {
            std::cerr << "write_tree: cannot open " << arguments[1] << '\n';
            return not_begun;
        }
        return run(arguments[0], file, writing, only_mount);
    } catch (const fl::i18n::conversion_error& error) {
        std::cerr << "write_tree: " << arguments[0] << ": " << error.what() << '\n';
        return not_begun;
    } catch (const std::exception& error) {
        std::cerr << "write_tree: " << error.what() << '\n';
        return some_failed;
    }
}
