// What the command prints for other programs.

#pragma once

#include "advice.hpp"
#include "install/tree/health.hpp"
#include "install/tree/prune.hpp"
#include "owners.hpp"
#include "removal.hpp"

#include <string>
#include <vector>

namespace kxtree {

/// Return one JSON object, in UTF-8, with a line end. Keys and paths are whole: what a terminal
/// would obey, and what is no UTF-8, is escaped so that it can be restored.
[[nodiscard]] std::string listing_as_json(const install::tree::Listing& listing);
[[nodiscard]] std::string
documents_as_json(const std::string& key,
                  const std::vector<install::tree::ListedDocument>& documents);
[[nodiscard]] std::string owners_as_json(const std::vector<OwnedPath>& paths);
[[nodiscard]] std::string health_as_json(const install::tree::Health& health);
[[nodiscard]] std::string removal_as_json(const Removal& removal);
[[nodiscard]] std::string prune_as_json(const install::tree::PruneReport& report, bool has_changed);
[[nodiscard]] std::string repair_as_json(const RepairResult& repair);

} // namespace kxtree
