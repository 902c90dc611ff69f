#include "install/tree/journal/manifest.hpp"

#include "foundation/json/serialize.hpp"
#include "foundation/json/value.hpp"
#include "install/product_impl/utils/json_diagnosis.hpp"
#include "install/tree/tree_error.hpp"

#include <algorithm>
#include <string_view>
#include <utility>

namespace install::tree {

namespace {

using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;
using Kind = ChangeStep::Kind;

constexpr const char* version_key = "version";
constexpr double version = 3;
constexpr const char* folders_key = "folders";
constexpr const char* digest_key = "sha256"; // of all lines
constexpr Kind kinds[] = {Kind::create, Kind::replace, Kind::remove};

struct Damaged {};

template <class T>
const T& member(const ValueMap& members, const char* key) {
    const auto found = members.find(key);
    const T* const value = found == members.end() ? nullptr : found->second.get_if<T>();
    return value != nullptr ? *value : throw Damaged();
}

// Whoever can write a manifest must not make another user touch files elsewhere.
void require_safe(std::string_view name) {
    if (name.empty() || name.front() == '.')
        throw Damaged();
    for (std::string_view rest = name; !rest.empty();) {
        const std::string_view part = rest.substr(0, rest.find('/'));
        if (part.empty() || part == "." || part == "..")
            throw Damaged();
        rest.remove_prefix(std::min(part.size() + 1, rest.size()));
    }
}

// Calls `take` with each text of a list.
template <class Take>
void read_list(const ValueMap& members, const char* key, Sha256& sum, const Take& take) {
    for (const Value& element : member<ValueVector>(members, key)) {
        const auto* const line = element.get_if<std::string>();
        if (line == nullptr)
            throw Damaged();
        sum.add(*line);
        take(*line);
    }
}

Manifest manifest_in(const ValueMap& members) {
    Manifest manifest;
    Sha256 sum;
    for (const Kind kind : kinds)
        read_list(members, name_of(kind), sum, [&](const std::string& line) {
            auto file = record_in(line);
            if (!file)
                throw Damaged();
            require_safe(file->name);
            manifest.entries.push_back({kind, std::move(*file)});
        });
    read_list(members, folders_key, sum, [&](const std::string& name) {
        require_safe(name);
        manifest.folders.push_back(name);
    });
    if (member<std::string>(members, digest_key) != hexadecimal(sum.digest()))
        throw Damaged();
    return manifest;
}

} // namespace

std::string Manifest::text() const {
    ValueMap members;
    Sha256 sum;
    for (const Kind kind : kinds) {
        ValueVector lines;
        for (const Entry& entry : entries)
            if (entry.kind == kind)
                sum.add(lines.emplace_back(line_of(entry.file)).get<std::string>());
        members.emplace(name_of(kind), std::move(lines));
    }
    ValueVector names;
    for (const std::string& folder : folders)
        sum.add(names.emplace_back(folder).get<std::string>());
    members.emplace(folders_key, std::move(names));
    members.emplace(digest_key, hexadecimal(sum.digest()));
    members.emplace(version_key, version);
    return foundation::json::serialize(Value(std::move(members)));
}

Manifest Manifest::read(const Directory& journal) {
    const std::string path = journal.path_of(journal_names::manifest);
    const auto text = journal.read(journal_names::manifest);
    if (!text || text->empty())
        throw tree_error("read", path, "The file is missing or empty.");
    ValueMap members;
    const auto state = product_impl::utils::diagnoseJson(*text, members).state;
    try {
        if (state != product_impl::utils::JsonFileDiagnosis::State::object)
            throw Damaged();
        if (member<double>(members, version_key) != version)
            throw tree_error("read", path, "It is from another version of this library.");
        return manifest_in(members);
    } catch (const Damaged&) {
        throw tree_error("read", path, "The file is damaged.");
    }
}

} // namespace install::tree
