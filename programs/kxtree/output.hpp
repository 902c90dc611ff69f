// What the command prints.

#pragma once

#include "advice.hpp"
#include "install/tree/health.hpp"
#include "install/tree/prune.hpp"
#include "owners.hpp"
#include "removal.hpp"

#include <ostream>
#include <string>
#include <string_view>
#include <vector>

namespace kxtree {

/// Colours, where standard output is a terminal that has them, and nobody forbids them.
class Style {
public:
    Style();
    [[nodiscard]] std::string bad(std::string_view text) const { return in_colour("31", text); }
    [[nodiscard]] std::string doubtful(std::string_view text) const {
        return in_colour("33", text);
    }
    [[nodiscard]] std::string good(std::string_view text) const { return in_colour("32", text); }

private:
    [[nodiscard]] std::string in_colour(const char* code, std::string_view text) const;
    bool colours_;
};

/// Print to `stream`, without anything from a file that a terminal would obey.
void print_listing(std::ostream& stream, const install::tree::Listing& listing);
void print_keys(std::ostream& stream, const install::tree::Listing& listing);
void print_documents(std::ostream& stream,
                     const std::vector<install::tree::ListedDocument>& documents);
void print_health(std::ostream& stream, const install::tree::Health& health,
                  const std::string& root_argument, const Style& style);
void print_problems(std::ostream& stream, const install::tree::Health& health);
void print_removal(std::ostream& stream, const Removal& removal);
void print_prune(std::ostream& stream, const install::tree::PruneReport& report, bool has_changed,
                 const Style& style);
void print_repair(std::ostream& stream, const RepairResult& repair, const Style& style);

/// The same; prints paths without an owner to standard error.
void print_owners(std::ostream& stream, const std::vector<OwnedPath>& paths);

} // namespace kxtree
