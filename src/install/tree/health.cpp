#include "install/tree/health.hpp"

#include "install/tree/documents.hpp"
#include "install/tree/entries.hpp"
#include "install/tree/layout.hpp"
#include "install/tree/printable_text.hpp"
#include "install/tree/shared_file.hpp"

#include <set>
#include <utility>

namespace install::tree {

namespace {

using foundation::json::Value;
using Kind = Fault::Kind;

std::string quoted(const std::string& text) {
    return '"' + printable(text) + '"';
}

// Compares the files of a tree with each other, and collects what it finds.
class Inspection {
public:
    explicit Inspection(const Layout& layout, const Directory& appdata)
        : appdata_(appdata),
          contents_(read_shared_file(appdata, layout.contents_map)),
          record_(read_shared_file(appdata, layout.installed_record)),
          documents_(find_documents(appdata)) {}

    Health run() {
        inspect_leftovers();
        inspect_shared_file(record_);
        inspect_record();
        inspect_shared_file(contents_);
        for (const auto& [key, value] : contents_.members)
            inspect_member(key, value);
        for (Fault& fault : documents_.faults)
            health_.problems.push_back(std::move(fault));
        inspect_documents();
        health_.listing = {contents_entries(contents_.members), record_entries(record_.members)};
        health_.documents = listed_.size();
        return std::move(health_);
    }

private:
    void add_problem(Kind kind, const std::string& name, const std::string& text) {
        health_.problems.push_back({kind, appdata_.path_of(name), text});
    }

    void inspect_leftovers() {
        for (const char* const name : {staging_name, commit_name})
            if (appdata_.link_status(name))
                add_problem(
                    Kind::interrupted, name,
                    "Unless a change is under way, one was interrupted here. The next change, "
                    "or a repair, finishes or drops it.");
    }

    void inspect_shared_file(const SharedFile& file) {
        if (file.fault)
            health_.problems.push_back(*file.fault);
        if (file.trailing_bytes > 0)
            health_.notes.push_back({Kind::trailing_bytes, appdata_.path_of(file.name),
                                     "After the object come " +
                                         std::to_string(file.trailing_bytes) +
                                         " bytes, which the next write drops."});
    }

    void inspect_record() {
        for (const auto& [basecode, value] : record_.members)
            if (!time_in(value))
                add_problem(Kind::no_time, record_.name,
                            "The entry " + quoted(basecode) + " has no time.");
    }

    void inspect_member(const std::string& key, const Value& value) {
        const auto paths = paths_in(value);
        const bool is_entry = is_entry_key(key);
        if (is_entry)
            prefixes_.insert(name_prefix(key));
        if (is_entry && !paths)
            add_problem(Kind::no_list, contents_.name,
                        "The entry " + quoted(key) + " is no list of paths.");
        if (!paths)
            return;
        for (const std::string& path : *paths)
            inspect_listed(key, path, is_entry);
    }

    void inspect_listed(const std::string& key, const std::string& path, bool is_entry) {
        const auto name = document_name(path);
        if (!name) {
            if (is_entry)
                add_problem(Kind::outside, contents_.name,
                            "The entry " + quoted(key) + " lists " + quoted(path) +
                                ", which is not in the directory of the documents.");
            return;
        }
        if (is_entry && !name->starts_with(name_prefix(key)))
            add_problem(Kind::other_key, contents_.name,
                        "The entry " + quoted(key) + " lists " + quoted(path) +
                            ", which has the key of another product.");
        if (documents_.sizes.contains(*name))
            listed_.insert(*name);
        else
            inspect_absent(key, *name);
    }

    // Whatever is there instead of a document has been reported.
    void inspect_absent(const std::string& key, const std::string& name) {
        try {
            if (!appdata_.link_status(name))
                add_problem(Kind::missing, name,
                            "The document is missing; the entry " + quoted(key) + " lists it.");
        } catch (const tree_error& error) {
            add_problem(Kind::unreadable, name, error.what());
        }
    }

    void inspect_documents() {
        for (const auto& [name, size] : documents_.sizes) {
            if (size == 0)
                add_problem(Kind::empty, name, "The document is empty.");
            if (contents_.fault || listed_.contains(name))
                continue;
            if (has_prefix(name, prefixes_))
                health_.notes.push_back({Kind::not_listed, appdata_.path_of(name),
                                         "A document of a former selection of its product."});
            else
                add_problem(Kind::not_listed, name, "No entry lists this document.");
        }
    }

    const Directory& appdata_;
    SharedFile contents_;
    SharedFile record_;
    Documents documents_;
    Health health_;
    std::set<std::string> prefixes_; // of the names of all entries' documents
    std::set<std::string> listed_;   // the documents that are there
};

} // namespace

Health inspect(const ustring& installRoot) {
    const Layout layout(installRoot);
    return Inspection(layout, Directory::open_existing(layout.appdata)).run();
}

} // namespace install::tree
