#include "install/tree/journal/manifest.hpp"

#include "foundation/json/serialize.hpp"
#include "foundation/json/value.hpp"
#include "install/product_impl/utils/json_diagnosis.hpp"
#include "install/tree/tree_error.hpp"

#include <string_view>
#include <utility>

namespace install::tree {

namespace {

using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;
using StepKind = ChangeStep::Kind;

constexpr const char* version_key = "version";
constexpr double manifest_version = 3;
constexpr const char* folders_key = "folders";
constexpr const char* old_record_key = "old_record";
constexpr const char* digest_key = "sha256"; // of all lines
constexpr StepKind kinds[] = {StepKind::create, StepKind::replace, StepKind::remove};

struct Damaged {};

template <class T>
const T& member(const ValueMap& members, const char* key) {
    const auto found = members.find(key);
    const T* const value = found == members.end() ? nullptr : found->second.get_if<T>();
    return value != nullptr ? *value : throw Damaged();
}

// Whoever can write a manifest must not make another user touch files elsewhere.
void require_safe(std::string_view name) {
    const std::string parts = '/' + std::string(name) + '/';
    if (name.starts_with('.') || parts.find("//") != std::string::npos ||
        parts.find("/./") != std::string::npos || parts.find("/../") != std::string::npos)
        throw Damaged();
}

// Calls `take` with each text of a list.
template <class Take>
void read_list(const ValueMap& members, const char* key, std::string& all, const Take& take) {
    for (const Value& element : member<ValueVector>(members, key)) {
        const auto* const line = element.get_if<std::string>();
        if (line == nullptr)
            throw Damaged();
        all += *line;
        take(*line);
    }
}

Manifest manifest_in(const ValueMap& members) {
    Manifest manifest;
    std::string all;
    for (const StepKind kind : kinds)
        read_list(members, name_of(kind), all, [&](const std::string& line) {
            auto file = record_in(line);
            if (!file)
                throw Damaged();
            require_safe(file->name);
            manifest.entries.push_back({kind, std::move(*file), false});
        });
    read_list(members, folders_key, all, [&](const std::string& name) {
        require_safe(name);
        manifest.folders.push_back(name);
    });
    read_list(members, old_record_key, all, [&](const std::string& line) {
        manifest.old_record = record_in(line);
        if (!manifest.old_record)
            throw Damaged();
    });
    if (member<std::string>(members, digest_key) != hexadecimal(sha256(all)))
        throw Damaged();
    return manifest;
}

} // namespace

std::string Manifest::text() const {
    ValueMap members;
    std::string all;
    for (const StepKind kind : kinds) {
        ValueVector lines;
        for (const Entry& entry : entries)
            if (entry.kind == kind)
                all += lines.emplace_back(line_of(entry.file)).get<std::string>();
        members.emplace(name_of(kind), std::move(lines));
    }
    ValueVector names;
    for (const std::string& folder : folders)
        all += names.emplace_back(folder).get<std::string>();
    members.emplace(folders_key, std::move(names));
    ValueVector old;
    if (old_record)
        all += old.emplace_back(line_of(*old_record)).get<std::string>();
    members.emplace(old_record_key, std::move(old));
    members.emplace(digest_key, hexadecimal(sha256(all)));
    members.emplace(version_key, manifest_version);
    return foundation::json::serialize(Value(std::move(members)));
}

Manifest Manifest::read(const Directory& journal) {
    const std::string path = journal.path_of(journal_names::manifest);
    const auto text = journal.read(journal_names::manifest);
    if (!text && journal.entries().empty()) // it goes after all else in it
        return {};
    if (!text || text->empty())
        throw tree_error("read", path, "The file is missing or empty.");
    ValueMap members;
    const auto state = product_impl::utils::diagnoseJson(*text, members).state;
    try {
        if (state != product_impl::utils::JsonFileDiagnosis::State::object)
            throw Damaged();
        if (member<double>(members, version_key) != manifest_version)
            throw tree_error("read", path, "It is from another version of this library.");
        Manifest manifest = manifest_in(members);
        manifest.staged_at = journal.status(journal_names::manifest).modified;
        return manifest;
    } catch (const Damaged&) {
        throw tree_error("read", path, "The file is damaged.");
    }
}

} // namespace install::tree
