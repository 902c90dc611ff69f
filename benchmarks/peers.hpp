// This library and other JSON libraries with a common interface, each used as its manual
// recommends.

#pragma once

#include "foundation/json/detail/parse_value.hpp"
#include "foundation/json/serialize.hpp"
#include "raw_file.hpp"

#include <boost/json.hpp>
#include <nlohmann/json.hpp>
#define RAPIDJSON_HAS_STDSTRING 1 // for std::string as key and value
#include <rapidjson/document.h>
#include <rapidjson/stringbuffer.h>
#include <rapidjson/writer.h>

#include <memory>
#include <string>
#include <vector>

namespace benchmarks {

struct Kx {
    using Tree = foundation::json::Value;

    static Tree parse(const std::string& text) {
        Tree tree;
        auto pos = text.begin();
        static_cast<void>(foundation::json::detail::parse_value(tree, pos, text.end(), false));
        return tree;
    }
    static std::string write(const Tree& tree) { return foundation::json::serialize(tree); }
};

struct Nlohmann {
    using Tree = nlohmann::json;

    static Tree parse(const std::string& text) { return nlohmann::json::parse(text); }
    static std::string write(const Tree& tree) { return tree.dump(); }
    static void replace(Tree& tree, const std::string& key, const std::vector<std::string>& paths) {
        tree[key] = paths;
    }
};

struct RapidJson {
    using Tree = rapidjson::Document;

    static Tree parse(const std::string& text) {
        Tree tree;
        tree.Parse(text.data(), text.size());
        return tree;
    }
    static std::string write(const Tree& tree) {
        rapidjson::StringBuffer buffer;
        rapidjson::Writer<rapidjson::StringBuffer> writer(buffer);
        tree.Accept(writer);
        return {buffer.GetString(), buffer.GetSize()};
    }
    static void replace(Tree& tree, const std::string& key, const std::vector<std::string>& paths) {
        auto& allocator = tree.GetAllocator();
        rapidjson::Value list(rapidjson::kArrayType);
        list.Reserve(static_cast<rapidjson::SizeType>(paths.size()), allocator);
        for (const std::string& path : paths)
            list.PushBack(rapidjson::Value(path, allocator), allocator);
        const auto member = tree.FindMember(key);
        if (member < tree.MemberEnd()) // their != is ambiguous in C++20, as clang++ warns
            member->value = list;
        else
            tree.AddMember(rapidjson::Value(key, allocator), list, allocator);
    }
};

struct BoostJson {
    // The pool must outlive the values that are allocated from it.
    struct Tree {
        std::unique_ptr<boost::json::monotonic_resource> pool;
        boost::json::value value;
    };

    static Tree parse(const std::string& text) {
        auto pool = std::make_unique<boost::json::monotonic_resource>();
        boost::json::value value = boost::json::parse(text, pool.get());
        return {std::move(pool), std::move(value)};
    }
    static std::string write(const Tree& tree) { return boost::json::serialize(tree.value); }
    static void replace(Tree& tree, const std::string& key, const std::vector<std::string>& paths) {
        boost::json::array list(tree.value.storage());
        for (const std::string& path : paths)
            list.emplace_back(path);
        tree.value.as_object()[key] = std::move(list);
    }
};

/// Replaces the entry `key` of the contents map at `path` with a list of `paths`.
template <class Peer>
void update(const std::string& path, const std::string& key,
            const std::vector<std::string>& paths) {
    typename Peer::Tree tree = Peer::parse(read_raw(path));
    Peer::replace(tree, key, paths);
    write_raw(path, Peer::write(tree));
}

} // namespace benchmarks
