#include "documents.hpp"

#include "fl/i18n/text_conversion.hpp"
#include "foundation/json/serialize.hpp"

#include <cstdint>
#include <utility>

namespace benchmarks {

using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;

namespace {

std::string name(std::size_t product) {
    std::string digits = std::to_string(product);
    return "lib-component-" + std::string(6 - digits.size(), '0') + digits;
}

const std::string version = "2.36-9+deb12u4";

std::string key(std::size_t product) {
    return name(product) + " " + version + " hostpf";
}

std::vector<std::string> paths(std::size_t product) {
    std::vector<std::string> tags = platforms;
    tags.push_back(locale);
    for (std::string& tag : tags)
        tag = "/appdata/products/" + name(product) + " " + version + " " + tag + ".xml";
    return tags;
}

} // namespace

std::string contents_map(std::size_t products) {
    ValueMap entries;
    for (std::size_t product = 0; product < products; ++product) {
        ValueVector list;
        for (const std::string& path : paths(product))
            list.emplace_back(path);
        entries.emplace(key(product), std::move(list));
    }
    return foundation::json::serialize(Value(std::move(entries)));
}

std::string installed_record(std::size_t products) {
    ValueMap entries;
    for (std::size_t product = 0; product < products; ++product)
        entries.emplace(name(product) + ":amd64",
                        1700000000123LL + static_cast<long long>(product));
    return foundation::json::serialize(Value(std::move(entries)));
}

std::string typed_integers(std::size_t count) {
    std::string text = R"({"kxdata":[)";
    std::uint64_t number = 1;
    for (std::size_t index = 0; index < count; ++index) {
        number = number * 6364136223846793005U + 1442695040888963407U;
        text += (index == 0 ? "" : ",") + std::to_string(number >> (index % 60));
    }
    return text + R"(],"kxtype":"uint64"})";
}

std::string escapes(std::size_t strings) {
    std::string text = "[";
    for (std::size_t index = 0; index < strings; ++index)
        text += (index == 0 ? "" : ",") +
                std::string(R"("ab\ncd\"ef\\gh\u00e4ij\tkl\u20ACmn\/op\ud83d\ude00qr\u0041")");
    return text + "]";
}

std::string updated_key(std::size_t products) {
    return key(products / 2);
}

std::vector<std::string> updated_paths(std::size_t products) {
    return paths(products / 2);
}

install::product_impl::ProductImpl product_to_update(std::size_t products) {
    using fl::i18n::utf8_to_ustring;
    install::datamodels::transitive_closure::Product model;
    model->basecode = utf8_to_ustring(name(products / 2) + ":amd64");
    model->name = utf8_to_ustring(name(products / 2));
    model->version = utf8_to_ustring(version);
    const install::ustring document(500, u'x');
    for (const std::string& platform : platforms)
        model->platformXmls.emplace_back(utf8_to_ustring(platform), document);
    model->localeXmls.emplace_back(utf8_to_ustring(locale), document);
    return install::product_impl::ProductImpl(model);
}

} // namespace benchmarks
