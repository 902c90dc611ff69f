#include "install/tree/health.hpp"

#include "install/tree/disk/layout.hpp"
#include "install/tree/inspection.hpp"
#include "install/tree/journal/recovery.hpp"
#include "install/tree/journal/view.hpp"
#include "install/tree/report/texts.hpp"
#include "install/tree/state/documents.hpp"
#include "install/tree/state/entries.hpp"
#include "install/tree/state/receipts.hpp"
#include "install/tree_names.hpp"

#include <utf8.h>

#include <algorithm>
#include <optional>
#include <utility>

namespace install::tree {

namespace {

using foundation::json::Value;
using Kind = Fault::Kind;

bool is_ascii(const std::string& text) {
    return std::ranges::all_of(text, [](char byte) { return (byte & 0x80) == 0; });
}

bool is_unreadable(const Fault& fault) {
    return fault.kind == Kind::unreadable;
}

// Compares the files of a tree with each other, and collects what it finds.
class Inspection {
public:
    Inspection(const FoundTree& tree, const InspectOptions& options)
        : tree_(tree),
          options_(options),
          documents_(tree.view) {
        health_.listing = tree.listing();
        health_.problems = documents_.faults;
    }

    Health run() {
        inspect_remains();
        if (is_empty())
            return std::move(health_);
        for (const SharedFile* const file : {&tree_.record, &tree_.contents, &tree_.receipts})
            if (file != &tree_.receipts || !file->is(SharedFile::State::missing))
                inspect_shared_file(*file); // serialize leaves no receipts
        if (tree_.are_swapped())
            add_problem(Kind::swapped, tree_.contents.path(),
                        "This is the installed record, and the contents map is in its place.");
        else
            inspect_entries();
        inspect_readers();
        health_.is_complete =
            !documents_.failure && std::ranges::none_of(health_.problems, is_unreadable);
        return std::move(health_);
    }

private:
    void add_problem(Kind kind, const std::string& path, const std::string& text,
                     const std::string& product = {}) {
        health_.problems.push_back({kind, path, text, product});
    }

    void add_note(Kind kind, const std::string& path, const std::string& text) {
        health_.notes.push_back({kind, path, text});
    }

    // A first change that was cancelled leaves a tree without products, and nothing is missing
    // there.
    [[nodiscard]] bool is_empty() const {
        const auto never_was = [&](const SharedFile& file) {
            const std::string old = file.name() + std::string(tree_names::old_suffix);
            return file.is(SharedFile::State::missing) && !tree_.view.status(old).is_there();
        };
        return documents_.files.empty() && documents_.faults.empty() && never_was(tree_.contents) &&
               never_was(tree_.record) && never_was(tree_.receipts);
    }

    // A change that is under way holds the lock.
    void inspect_remains() {
        const View& view = tree_.view;
        for (const std::string& name : find_set_aside(view.appdata()))
            add_note(
                Kind::interrupted, view.path_of(name),
                "A change could not remove this. Nothing reads it, and each later change tries "
                "again to remove it.");
        if (const auto& fault = view.fault(); fault && fault->code())
            return add_problem(Kind::unreadable, fault->path(), fault->what());
        if (const auto& fault = view.fault())
            return add_problem(
                Kind::interrupted, fault->path(),
                fault->what() + std::string("\nNeither a change nor a repair can roll this back: "
                                            "rename .undo, check the tree again, and compare "
                                            "the problems with the files in it."));
        if (find_remains(view.appdata()) == Remains::none || is_locked(view.appdata()))
            return;
        const Remains remains = find_remains(view.appdata());
        if (remains == Remains::to_roll_back)
            add_problem(
                Kind::interrupted, view.path_of(tree_names::undo),
                "A change was interrupted here. The next change, or a repair, rolls it back.");
        else if (remains == Remains::to_drop)
            add_problem(
                Kind::interrupted, view.path_of(tree_names::staging),
                "A change was interrupted here before it began or after it was complete. The "
                "next change, or a repair, drops what it left.");
        for (const std::string& path : view.files_of_others())
            add_note(
                Kind::other_writer, path,
                "Another program wrote this file after a change was interrupted. It stays when "
                "the change is rolled back.");
    }

    void inspect_shared_file(const SharedFile& file) {
        if (auto fault = file.fault())
            health_.problems.push_back(std::move(*fault));
        if (file.trailing_bytes() > 0)
            add_note(Kind::trailing_bytes, file.path(),
                     "The object is followed by trailing bytes: " +
                         std::to_string(file.trailing_bytes()) + ". The next write drops them.");
        if (file.repeated_keys() > 0)
            add_note(Kind::repeated_key, file.path(),
                     "Members with the key of an earlier member: " +
                         std::to_string(file.repeated_keys()) +
                         ". This library ignores them, other programs may not, and the next write "
                         "drops them.");
    }

    void inspect_entries() {
        for (const auto& [basecode, value] : tree_.record.members())
            if (!time_in(&value))
                add_problem(Kind::no_time, tree_.record.path(),
                            "The entry " + in_quotes(basecode) + " has no time.");
        for (const auto& [key, value] : tree_.contents.members())
            inspect_member(key, value);
        if (is_in_other_encoding_)
            add_problem(Kind::not_utf8, tree_.contents.path(),
                        "Some of its text is not UTF-8: it is damaged, or another program wrote it "
                        "in another encoding.");
        inspect_receipts();
        inspect_documents();
        inspect_texts();
    }

    void inspect_member(const std::string& key, const Value& value) {
        listed_.add(key, value);
        const auto paths = paths_in(value);
        const bool is_entry = is_entry_key(key);
        if (is_entry && !paths)
            add_problem(Kind::no_list, tree_.contents.path(),
                        "The entry " + in_quotes(key) + " is not a list of paths.", key);
        if (!paths)
            return;
        const bool is_utf8 = utf8::is_valid(key);
        const std::string prefix = is_entry ? name_prefix(key) : std::string();
        for (const std::string& path : *paths)
            if (is_utf8 && utf8::is_valid(path))
                inspect_listed(key, prefix, path);
            else
                is_in_other_encoding_ = true;
    }

    // `prefix` is what the names of the entry's documents begin with; empty if it is no product's.
    void inspect_listed(const std::string& key, const std::string& prefix,
                        const std::string& path) {
        const auto name = document_name(path);
        const auto add = [&](Kind kind, const char* what) {
            if (!prefix.empty())
                add_problem(kind, tree_.contents.path(),
                            "The entry " + in_quotes(key) + " lists " + in_quotes(path) + what,
                            key);
        };
        if (!name)
            return add(Kind::outside, ", which is not in the directory of the documents.");
        if (!name->starts_with(prefix))
            add(Kind::other_key, ", which has the key of another product.");
        if (documents_.files.contains(*name))
            return;
        auto fault = fault_of_document(tree_.view, *name, nullptr, Comparison::size);
        const bool is_reported = fault && (fault->kind == Kind::not_regular ||
                                           (fault->kind == Kind::unreadable && documents_.failure));
        const bool is_hidden = !fault && std::ranges::any_of(documents_.faults, is_unreadable);
        if (is_reported || is_hidden) // in a folder that may be searched, and not listed
            return;
        if (!fault) // the file system takes a file of another name for it
            fault = {Kind::missing,
                     tree_.view.path_of(*name),
                     "There is only a document whose name has another spelling.",
                     {}};
        if (fault->kind == Kind::missing)
            fault->text += " The entry " + in_quotes(key) + " lists it.";
        fault->product = key;
        health_.problems.push_back(std::move(*fault));
    }

    // A product that was written by a change has an entry in the installed record.
    void inspect_receipts() {
        if (!tree_.record.is(SharedFile::State::object))
            return;
        for (const auto& [key, value] : tree_.receipts.members()) {
            const auto receipt = receipt_in(key, value);
            if (!receipt || tree_.contents.find(key) == nullptr)
                continue;
            const Value* const entry = tree_.record.find(receipt->basecode);
            if (entry == nullptr)
                add_problem(Kind::missing, tree_.record.path(),
                            "The product " + in_quotes(key) + " has no entry; its basecode is " +
                                in_quotes(receipt->basecode) + '.',
                            key);
            else if (const auto time = time_in(entry); time && *time < receipt->time)
                add_note(Kind::old, tree_.record.path(),
                         "The entry " + in_quotes(receipt->basecode) +
                             " is older than the receipt of " + in_quotes(key) + '.');
        }
    }

    void inspect_documents() {
        const bool is_list_whole = tree_.contents.is(SharedFile::State::object);
        for (const auto& [name, file] : documents_.files) {
            if (listed_.has(name))
                ++health_.documents;
            else if (!is_list_whole || (is_in_other_encoding_ && !is_ascii(name)))
                continue;
            else if (listed_.has_product_of(name))
                add_note(Kind::not_listed, tree_.view.path_of(name),
                         "This document is from an earlier selection of its product.");
            else
                add_problem(Kind::not_listed, tree_.view.path_of(name),
                            "No entry lists this document.");
        }
    }

    void inspect_texts() {
        const DocumentRecords records(health_.listing.receipts);
        const auto& files = documents_.files;
        const auto comparison = options_.contents ? Comparison::text : Comparison::size;
        const bool is_observed = options_.contents && options_.on_progress;
        const auto total = static_cast<std::size_t>(
            is_observed ? std::ranges::count_if(
                              files, [&](const auto& each) { return records.find(each.first); })
                        : 0);
        std::size_t done = 0;
        for (const auto& [name, file] : files) {
            const FileRecord* const expected = records.find(name);
            if (is_observed && expected != nullptr)
                options_.on_progress(done++, total);
            if (auto fault = fault_of_document(tree_.view, name, expected, comparison, file.size))
                health_.problems.push_back(std::move(*fault));
            else if (file.size == 0 && expected == nullptr) // which may be as it was written
                add_note(Kind::empty, tree_.view.path_of(name), "The document is empty.");
        }
    }

    // One note for all: there may be tens of thousands.
    void inspect_readers() {
        const std::uint32_t readers = tree_.contents.permissions();
        std::size_t count = 0;
        std::string first;
        for (const auto& [name, file] : documents_.files)
            if ((readers & ~file.readers & 0444U) != 0 && ++count == 1)
                first = name;
        if (count > 0)
            add_note(Kind::fewer_readers, tree_.view.path_of(first),
                     "Fewer users may read this document than the contents map" +
                         (count == 1 ? std::string()
                                     : "; this holds for " + std::to_string(count) + " documents") +
                         '.');
    }

    const FoundTree& tree_;
    const InspectOptions& options_;
    Documents documents_;
    ListedDocuments listed_;
    bool is_in_other_encoding_ = false;
    Health health_;
};

std::vector<ListedDocument> find_listed_documents(const View& view, const std::string& key) {
    const FoundTree tree(view);
    tree.contents.require_object();
    const Value* const entry = tree.contents.find(key);
    const auto paths = entry == nullptr ? std::nullopt : paths_in(*entry);
    if (!paths)
        throw tree_error("find " + in_quotes(key) + " in", tree.contents.path(),
                         "There is no such entry.");
    const DocumentRecords records(tree.listing().receipts);
    std::vector<ListedDocument> documents;
    for (const std::string& path : *paths) {
        ListedDocument& document = documents.emplace_back(ListedDocument{path, {}, 0, false, {}});
        const auto name = document_name(path);
        if (!name) {
            document.fault = {Kind::outside, tree.contents.path(),
                              "The path is not in the directory of the documents."};
            continue;
        }
        const FileRecord* const expected = records.find(*name);
        document.file = view.path_of(*name);
        document.has_receipt = expected != nullptr;
        document.fault = fault_of_document(view, *name, expected, Comparison::text);
        if (!document.fault || document.fault->kind != Kind::unreadable)
            document.size = view.status(*name).size;
    }
    return documents;
}

} // namespace

Health inspect(const FoundTree& tree, const InspectOptions& options) {
    return Inspection(tree, options).run();
}

Health inspect(const ustring& installRoot, const InspectOptions& options) {
    const Directory appdata = open_tree(Layout(installRoot));
    return read_committed(
        appdata, {}, [&](const View& view) { return inspect(FoundTree(view), options); },
        [](const Health& health) { return !health.problems.empty() || !health.notes.empty(); });
}

std::vector<ListedDocument> documents_of(const ustring& installRoot, const std::string& key) {
    const Directory appdata = open_tree(Layout(installRoot));
    return read_committed(
        appdata, {}, [&](const View& view) { return find_listed_documents(view, key); },
        [](const std::vector<ListedDocument>& documents) {
            return std::ranges::any_of(documents,
                                       [](const auto& each) { return each.fault.has_value(); });
        });
}

} // namespace install::tree
