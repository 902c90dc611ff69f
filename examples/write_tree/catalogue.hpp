// A catalogue of packages: one package a line, six fields with tabs between, in UTF-8:
//
//     name  version  architecture  section  dependencies  one-line summary
//
// Dependencies have commas between, and the choices of one have bars: "a (>= 1), b | c, d".

#pragma once

#include <cstddef>
#include <iosfwd>
#include <string>
#include <vector>

namespace write_tree {

/// One choice of a dependency: a package's name, and what is asked of its version.
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

/// A line that is no package, and why.
struct Fault {
    std::size_t line = 0;
    std::string reason;
};

struct Catalogue {
    std::vector<Package> packages;
    std::vector<Fault> faults;
};

/// Reads `stream` to its end. A malformed line becomes a fault and nothing else.
[[nodiscard]] Catalogue read_catalogue(std::istream& stream);

} // namespace write_tree
