#include "install/tree/health.hpp"

#include "install/tree/change/recovery.hpp"
#include "install/tree/exhausted_memory.hpp"
#include "install/tree/found/entries.hpp"
#include "install/tree/found/found_tree.hpp"
#include "install/tree/found/receipted.hpp"
#include "install/tree/in_quotes.hpp"
#include "install/tree/layout.hpp"
#include "install/tree/lock.hpp"
#include "install/tree_names.hpp"

#include <algorithm>
#include <cstdint>
#include <optional>
#include <utility>

namespace install::tree {

namespace {

using foundation::json::Value;
using Kind = Fault::Kind;

// Compares the files of a tree with each other, and collects what it finds.
class Inspection {
public:
    Inspection(const FoundTree& tree, const InspectOptions& options)
        : tree_(tree),
          options_(options) {
        health_.listing = tree.shared.listing();
    }

    Health run() {
        inspect_leftovers();
        inspect_shared_file(tree_.shared.record);
        inspect_record();
        inspect_shared_file(tree_.shared.contents);
        if (!tree_.shared.receipts.is(SharedFile::State::missing)) // serialize leaves none
            inspect_shared_file(tree_.shared.receipts);
        for (const auto& [key, value] : tree_.shared.contents.members)
            inspect_member(key, value);
        health_.problems.insert(health_.problems.end(), tree_.documents.faults.begin(),
                                tree_.documents.faults.end());
        inspect_documents();
        inspect_texts();
        inspect_readers();
        return std::move(health_);
    }

private:
    void add_problem(Kind kind, const std::string& name, const std::string& text) {
        health_.problems.push_back({kind, tree_.view.path_of(name), text});
    }

    void add_note(Kind kind, const std::string& name, const std::string& text) {
        health_.notes.push_back({kind, tree_.view.path_of(name), text});
    }

    // A change that is under way holds the lock.
    void inspect_leftovers() {
        const Directory& appdata = tree_.view.appdata();
        if (const auto& fault = tree_.view.fault())
            health_.problems.push_back({Kind::unreadable, fault->path(), fault->what()});
        if (leftover_in(appdata) == Leftover::none || is_locked(appdata))
            return;
        const Leftover leftover = leftover_in(appdata);
        if (leftover == Leftover::taken_back)
            add_problem(Kind::interrupted, std::string(tree_names::undo),
                        "A change was interrupted here. The next one, or a repair, takes it back.");
        else if (leftover == Leftover::dropped)
            add_problem(Kind::interrupted, std::string(tree_names::staging),
                        "A change was interrupted here before it began, or after its end. The next "
                        "one, or a repair, drops what it left.");
    }

    void inspect_shared_file(const SharedFile& file) {
        if (auto fault = file.fault())
            health_.problems.push_back(std::move(*fault));
        else if (file.text.find_first_not_of(" \t\r\n", file.diagnosis.offset) != std::string::npos)
            add_note(Kind::trailing_bytes, file.name,
                     "After the object come " + std::to_string(file.diagnosis.ignored_bytes) +
                         " bytes, which the next write drops.");
    }

    void inspect_record() {
        for (const auto& [basecode, value] : tree_.shared.record.members)
            if (!time_in(value))
                add_problem(Kind::no_time, tree_.shared.record.name,
                            "The entry " + in_quotes(basecode) + " has no time.");
    }

    void inspect_member(const std::string& key, const Value& value) {
        const auto paths = paths_in(value);
        const bool is_entry = is_entry_key(key);
        if (is_entry && !paths)
            add_problem(Kind::no_list, tree_.shared.contents.name,
                        "The entry " + in_quotes(key) + " is not a list of paths.");
        if (!paths)
            return;
        for (const std::string& path : *paths)
            inspect_listed(key, path, is_entry);
    }

    void inspect_listed(const std::string& key, const std::string& path, bool is_entry) {
        const auto name = document_name(path);
        if (!name) {
            if (is_entry)
                add_problem(Kind::outside, tree_.shared.contents.name,
                            "The entry " + in_quotes(key) + " lists " + in_quotes(path) +
                                ", which is not in the directory of the documents.");
            return;
        }
        if (is_entry && !name->starts_with(name_prefix(key)))
            add_problem(Kind::other_key, tree_.shared.contents.name,
                        "The entry " + in_quotes(key) + " lists " + in_quotes(path) +
                            ", which has the key of another product.");
        if (!tree_.documents.files.contains(*name))
            inspect_absent(key, *name);
    }

    // Whatever is there instead of a document has been reported.
    void inspect_absent(const std::string& key, const std::string& name) {
        try {
            if (tree_.view.status(name).type == FileStatus::Type::nothing)
                add_problem(Kind::missing, name,
                            "The document is missing; the entry " + in_quotes(key) + " lists it.");
        } catch (const tree_error& error) {
            add_problem(Kind::unreadable, name, error.what());
        }
    }

    void inspect_documents() {
        const bool is_list_whole = tree_.shared.contents.is(SharedFile::State::object);
        for (const auto& [name, file] : tree_.documents.files) {
            if (tree_.is_listed(name))
                ++health_.documents;
            else if (!is_list_whole)
                continue;
            else if (tree_.belongs_to_entry(name))
                add_note(Kind::not_listed, name,
                         "A document of a former selection of its product.");
            else
                add_problem(Kind::not_listed, name, "No entry lists this document.");
        }
    }

    void inspect_texts() {
        const ReceiptedDocuments receipted(health_.listing.receipts);
        const auto& files = tree_.documents.files;
        const bool is_observed = options_.contents && options_.on_progress;
        const auto total = static_cast<std::size_t>(
            is_observed ? std::ranges::count_if(
                              files, [&](const auto& each) { return receipted.has(each.first); })
                        : 0);
        std::size_t done = 0;
        for (const auto& [name, file] : files) {
            if (is_observed && receipted.has(name))
                options_.on_progress(done++, total);
            if (auto fault = receipted.fault(tree_.view, name, file.size, options_.contents))
                health_.problems.push_back(std::move(*fault));
            else if (file.size == 0 && !receipted.has(name)) // which may be as it was written
                add_note(Kind::empty, name, "The document is empty.");
        }
    }

    // One note for all: there may be tens of thousands.
    void inspect_readers() {
        const std::uint32_t readers = tree_.shared.contents.permissions;
        std::size_t count = 0;
        std::string first;
        for (const auto& [name, file] : tree_.documents.files)
            if ((readers & ~file.readers & 0444U) != 0 && ++count == 1)
                first = name;
        if (count > 0)
            add_note(Kind::fewer_readers, first,
                     "Fewer users may read this document than may read the contents map" +
                         (count == 1 ? std::string()
                                     : "; in all, this holds for " + std::to_string(count)) +
                         '.');
    }

    const FoundTree& tree_;
    const InspectOptions& options_;
    Health health_;
};

} // namespace

Health inspect(const ustring& installRoot, const InspectOptions& options) {
    const Layout layout(installRoot);
    return reporting_exhausted_memory("check", layout.appdata, [&] {
        const Directory appdata = open_tree(layout);
        return read_committed(
            appdata, [&](const View& view) { return Inspection(FoundTree(view), options).run(); });
    });
}

} // namespace install::tree
