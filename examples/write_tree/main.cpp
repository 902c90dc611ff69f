// Writes the packages of a catalogue as products to an install tree:
//
//     write_tree ROOT [CATALOGUE]
//
// Without CATALOGUE it reads standard input. Exit status: 0 if every line was written, 1 if a line
// was malformed or a file could not be written, 2 if there was nothing to write or an argument was
// invalid.

#include "catalogue.hpp"
#include "products.hpp"
#include "report.hpp"

#include "fl/i18n/text_conversion.hpp"

#include <chrono>
#include <exception>
#include <fstream>
#include <iomanip>
#include <iostream>
#include <set>

#include <unistd.h>

namespace {

using namespace write_tree;

constexpr int all_written = 0;
constexpr int some_failed = 1;
constexpr int not_begun = 2;

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

// Serialises all products, and returns the relative paths of their XML files.
std::set<std::string> write_products(const install::ustring& install_root,
                                     const std::vector<Package>& packages,
                                     const std::vector<ProductPointer>& products) {
    const Progress progress(products.size());
    std::set<std::string> paths;
    for (std::size_t index = 0; index < products.size(); ++index) {
        progress.show(index, packages[index].name);
        const std::vector<std::string> platforms = {packages[index].architecture};
        products[index]->serialize(install_root, platforms, locale);
        for (const auto& path :
             products[index]->getRelativeXmlPaths(install_root, platforms, locale))
            paths.insert(path.get<std::string>());
    }
    return paths;
}

int run(const std::string& root, std::istream& stream) {
    const install::ustring install_root = fl::i18n::utf8_to_ustring(root);
    const Catalogue catalogue = read_catalogue(stream);
    for (const Fault& fault : catalogue.faults)
        std::cerr << "line " << fault.line << ": " << fault.reason << '\n';
    if (catalogue.packages.empty()) {
        std::cerr << "write_tree: no package in the catalogue\n";
        return not_begun;
    }
    const Products products(catalogue.packages);

    const auto start = std::chrono::steady_clock::now();
    const std::set<std::string> paths =
        write_products(install_root, catalogue.packages, products.all());
    const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - start;

    const TreeCount count = count_tree(root, paths);
    for (const std::string& path : count.missing)
        std::cerr << "not written: " << path << '\n';
    std::cout << "products   " << products.all().size() << '\n'
              << "XML files  " << count.xml_files << '\n'
              << "bytes      " << count.bytes << '\n'
              << "seconds    " << std::fixed << std::setprecision(2) << elapsed.count() << "\n\n";
    print_top_of_tree(std::cout, root);
    return catalogue.faults.empty() && count.missing.empty() ? all_written : some_failed;
}

} // namespace

int main(int argc, char** argv) {
    if (argc < 2 || argc > 3) {
        std::cerr << "usage: write_tree ROOT [CATALOGUE]\n";
        return not_begun;
    }
    try {
        if (argc == 2)
            return run(argv[1], std::cin);
        std::ifstream file(argv[2]);
        if (!file) {
            std::cerr << "write_tree: cannot open " << argv[2] << '\n';
            return not_begun;
        }
        return run(argv[1], file);
    } catch (const fl::i18n::conversion_error& error) {
        std::cerr << "write_tree: " << argv[1] << ": " << error.what() << '\n';
        return not_begun;
    } catch (const std::exception& error) {
        std::cerr << "write_tree: " << error.what() << '\n';
        return some_failed;
    }
}
