#include "install/tree/health.hpp"

#include "install/tree/found/entries.hpp"
#include "install/tree/found/found_tree.hpp"
#include "install/tree/in_quotes.hpp"
#include "install/tree/layout.hpp"
#include "install/tree_names.hpp"

#include <utility>

namespace install::tree {

namespace {

using foundation::json::Value;
using Kind = Fault::Kind;

// Compares the files of a tree with each other, and collects what it finds.
class Inspection {
public:
    explicit Inspection(const FoundTree& tree) : tree_(tree) {}

    Health run() {
        inspect_leftovers();
        inspect_shared_file(tree_.shared.record);
        inspect_record();
        inspect_shared_file(tree_.shared.contents);
        for (const auto& [key, value] : tree_.shared.contents.members)
            inspect_member(key, value);
        health_.problems.insert(health_.problems.end(), tree_.documents.faults.begin(),
                                tree_.documents.faults.end());
        inspect_documents();
        health_.listing = tree_.shared.listing();
        return std::move(health_);
    }

private:
    void add_problem(Kind kind, const std::string& name, const std::string& text) {
        health_.problems.push_back({kind, tree_.appdata.path_of(name), text});
    }

    void inspect_leftovers() {
        for (const auto leftover : {tree_names::staging, tree_names::commit})
            if (const std::string name(leftover); tree_.appdata.link_status(name))
                add_problem(
                    Kind::interrupted, name,
                    "Unless a change is under way, one was interrupted here. The next change, "
                    "or a repair, finishes or drops it.");
    }

    void inspect_shared_file(const SharedFile& file) {
        if (auto fault = file.fault())
            health_.problems.push_back(std::move(*fault));
        else if (file.text.find_first_not_of(" \t\r\n", file.diagnosis.offset) != std::string::npos)
            health_.notes.push_back({Kind::trailing_bytes, file.path,
                                     "After the object come " +
                                         std::to_string(file.diagnosis.ignored_bytes) +
                                         " bytes, which the next write drops."});
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
        if (!tree_.documents.sizes.contains(*name))
            inspect_absent(key, *name);
    }

    // Whatever is there instead of a document has been reported.
    void inspect_absent(const std::string& key, const std::string& name) {
        try {
            if (!tree_.appdata.link_status(name))
                add_problem(Kind::missing, name,
                            "The document is missing; the entry " + in_quotes(key) + " lists it.");
        } catch (const tree_error& error) {
            add_problem(Kind::unreadable, name, error.what());
        }
    }

    void inspect_documents() {
        const bool is_list_whole = tree_.shared.contents.is(SharedFile::State::object);
        for (const auto& [name, size] : tree_.documents.sizes) {
            if (size == 0)
                add_problem(Kind::empty, name, "The document is empty.");
            if (tree_.is_listed(name))
                ++health_.documents;
            else if (!is_list_whole)
                continue;
            else if (tree_.belongs_to_entry(name))
                health_.notes.push_back({Kind::not_listed, tree_.appdata.path_of(name),
                                         "A document of a former selection of its product."});
            else
                add_problem(Kind::not_listed, name, "No entry lists this document.");
        }
    }

    const FoundTree& tree_;
    Health health_;
};

} // namespace

Health inspect(const ustring& installRoot) {
    const Directory appdata = open_tree(Layout(installRoot));
    return Inspection(FoundTree(appdata)).run();
}

} // namespace install::tree
