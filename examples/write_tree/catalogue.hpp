// A catalogue of packages, in UTF-8: one package per line, as six fields separated by tabs:
//
//     name  version  architecture  section  dependencies  one-line summary
//
// Dependencies are separated by commas, and the choices of a dependency by bars:
// "a (>= 1), b | c, d".

#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace write_tree {

/// One choice of a dependency: the name of a package, and a condition on its version, which may be
/// empty.
struct Choice {
    std::string name;
    std::string condition;
};

struct Package {
    std::size_t line = 0; // in the catalogue, counted from 1
    std::string name;
    std::string version;
    std::string architecture;
    std::string section;
    std::vector<std::vector<Choice>> dependencies;
    std::string summary;

    [[nodiscard]] std::string basecode() const { return name + ":" + architecture; }
};

/// A malformed line, and what is wrong with it.
struct Fault {
    std::size_t line = 0;
    std::string reason;
};

struct Catalogue {
    std::vector<Package> packages;
    std::vector<Fault> faults;
};

/// Reads `stream` to its end. Each line becomes a package or a fault.
[[nodiscard]] Catalogue read_catalogue(std::istream& stream);

} // namespace write_tree
