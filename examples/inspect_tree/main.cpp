// Prints the health of an install tree:
//
//     inspect_tree ROOT
//
// Exit status: 0 if there are no problems, 1 if there are some, 2 if the tree could not be
// inspected.

#include "health.hpp"

#include <exception>
#include <iostream>

namespace {

void print(const std::string& title, const std::vector<std::string>& lines) {
    if (lines.empty())
        return;
    std::cout << title << ":\n";
    for (const std::string& line : lines)
        std::cout << "  " << line << '\n';
}

} // namespace

int main(int argc, char** argv) {
    if (argc != 2) {
        std::cerr << "usage: inspect_tree ROOT\n";
        return 2;
    }
    try {
        const inspect_tree::Health health = inspect_tree::inspect(argv[1]);
        print("Products, by their last write", health.products);
        print("Notes", health.notes);
        print("Problems", health.problems);
        std::cout << health.products.size() << " products, " << health.xml_files << " XML files, "
                  << health.problems.size() << " problems\n";
        return health.problems.empty() ? 0 : 1;
    } catch (const std::exception& error) {
        std::cerr << "inspect_tree: " << error.what() << '\n';
        return 2;
    }
}
