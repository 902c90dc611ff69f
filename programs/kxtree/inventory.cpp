#include "inventory.hpp"

#include "failure.hpp"
#include "fl/i18n/text_conversion.hpp"
#include "foundation/json/serialize.hpp"
#include "foundation/json/value.hpp"
#include "install/tree/printable_text.hpp"
#include "install/tree_names.hpp"
#include "iso_time.hpp"
#include "keys.hpp"
#include "products.hpp"
#include "uuid.hpp"

#include <algorithm>
#include <charconv>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <set>
#include <string_view>
#include <utility>

namespace kxtree {

using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;
using install::tree::Health;
using install::tree::Listing;
using install::tree::Receipt;
namespace names = install::tree_names;

namespace {

Value string_value(std::string_view text) {
    return Value(std::string(text));
}

Value property(const char* name, std::string_view value) {
    return Value(ValueMap{{"name", string_value(std::string("kxtree:") + name)},
                          {"value", string_value(value)}});
}

bool is_utf8(const std::string& text) {
    try {
        static_cast<void>(fl::i18n::utf8_to_ustring(text));
        return true;
    } catch (const fl::i18n::conversion_error&) {
        return false;
    }
}

// Within a package URL nothing else stands for itself.
std::string percent_encoded(std::string_view text) {
    constexpr std::string_view plain = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz"
                                       "0123456789-._~:";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string result;
    for (const char each : text) {
        const auto byte = static_cast<unsigned char>(each);
        if (plain.find(each) != plain.npos)
            result += each;
        else
            result.append({'%', digits[byte >> 4U], digits[byte & 0xFU]});
    }
    return result;
}

// Returns the path of a document below the install root.
std::string name_of_document(const std::string& listed) {
    return std::filesystem::path(listed).relative_path().lexically_normal().string();
}

// The documents as their receipts have them. Several products may have one, and the last that was
// written counts.
class WrittenDocuments {
public:
    explicit WrittenDocuments(const Listing& listing) {
        for (const Receipt& receipt : listing.receipts)
            for (const Receipt::Document& document : receipt.documents) {
                auto& last = last_[name_of_document(document.path)];
                if (last.document == nullptr || last.time < receipt.time)
                    last = {receipt.time, &document};
            }
    }

    /// Returns null if no receipt has the document.
    [[nodiscard]] const Receipt::Document* find(const std::string& name) const {
        const auto found = last_.find(name);
        return found == last_.end() ? nullptr : found->second.document;
    }

private:
    struct Last {
        install::tree::InstallTree::Time time;
        const Receipt::Document* document = nullptr;
    };
    std::map<std::string, Last> last_;
};

// Makes a component of each product.
class Inventory {
public:
    Inventory(const Root& root, const Health& health)
        : root_(root),
          health_(health),
          written_(health.listing) {
        for (const auto& fault : health.problems)
            states_.emplace(fault.path, name_of(fault.kind));
    }

    [[nodiscard]] Value component_of(const Product& product) {
        const std::string& key = product.entry->key;
        ValueMap component;
        component.emplace("type", string_value("application"));
        component.emplace("bom-ref", string_value(key));
        component.emplace("name", string_value(short_key(health_.listing, key)));
        component.emplace("components", documents_of_entry(*product.entry));
        if (product.receipt == nullptr)
            incomplete_.insert(key);
        else
            add_receipt(component, *product.receipt);
        return Value(std::move(component));
    }

    /// Returns the keys of the products of which nobody knows what belongs to them.
    [[nodiscard]] const std::set<std::string>& incomplete() const noexcept { return incomplete_; }

private:
    // A receipt without a name is of an earlier version of the library.
    static void add_receipt(ValueMap& component, const Receipt& receipt) {
        ValueVector properties = {property("basecode", receipt.basecode)};
        for (const std::string& platform : receipt.platforms)
            properties.push_back(property("platform", platform));
        if (!receipt.locale.empty())
            properties.push_back(property("locale", receipt.locale));
        component.emplace("properties", std::move(properties));
        if (receipt.name.empty())
            return;
        component.insert_or_assign("name", string_value(receipt.name));
        std::string url = "pkg:generic/" + percent_encoded(receipt.name);
        if (!receipt.version.empty()) {
            component.emplace("version", string_value(receipt.version));
            url += '@' + percent_encoded(receipt.version);
        }
        if (is_utf8(receipt.name) && is_utf8(receipt.version))
            component.emplace("purl", std::move(url));
    }

    // A path that leaves the tree is a problem, and no document.
    [[nodiscard]] Value documents_of_entry(const install::tree::ContentsEntry& entry) {
        ValueVector documents;
        std::set<std::string> found; // one may be listed twice
        for (const std::string& path : entry.paths)
            if (const auto [name, is_new] = found.insert(name_of_document(path));
                is_new && name->starts_with(names::join(names::appdata, "")))
                documents.push_back(document(entry.key, *name));
        return Value(std::move(documents));
    }

    [[nodiscard]] Value document(const std::string& key, const std::string& name) {
        ValueMap component;
        component.emplace("type", string_value("file"));
        component.emplace("name", string_value(name));
        const Receipt::Document* const written = written_.find(name);
        const auto state = states_.find(root_.path_of(
            std::string_view(name).substr(std::string_view(names::appdata).size() + 1)));
        if (written == nullptr)
            incomplete_.insert(key);
        if (state == states_.end() && written != nullptr) {
            component.emplace(
                "hashes", ValueVector{Value(ValueMap{{"alg", string_value("SHA-256")},
                                                     {"content", string_value(written->sha256)}})});
            component.emplace("properties",
                              ValueVector{property("size", std::to_string(written->size))});
        } else {
            component.emplace("properties",
                              ValueVector{property(
                                  "state", state == states_.end() ? "no receipt" : state->second)});
        }
        return Value(std::move(component));
    }

    const Root& root_;
    const Health& health_;
    WrittenDocuments written_;
    std::map<std::string, const char*> states_; // of files at these paths
    std::set<std::string> incomplete_;
};

Value metadata_of(const Edition& edition, bool compares_contents) {
    ValueMap tool = {{"type", string_value("application")},
                     {"name", string_value("kxtree")},
                     {"version", string_value(KX_VERSION)}};
    ValueMap tools = {{"components", Value(ValueVector{Value(std::move(tool))})}};
    return Value(ValueMap{
        {"timestamp", string_value(iso_time(edition.time))},
        {"tools", Value(std::move(tools))},
        {"properties",
         Value(ValueVector{property("compared", compares_contents ? "contents" : "sizes")})}});
}

Value compositions_of(const std::set<std::string>& incomplete) {
    ValueVector keys(incomplete.size());
    std::ranges::transform(incomplete, keys.begin(), string_value);
    return Value(ValueVector{Value(ValueMap{{"aggregate", string_value("incomplete")},
                                            {"assemblies", Value(std::move(keys))}})});
}

} // namespace

Edition next_edition() {
    using std::chrono::floor;
    using std::chrono::milliseconds;
    const char* const variable = std::getenv("SOURCE_DATE_EPOCH");
    const std::string_view text = variable == nullptr ? "" : variable;
    if (text.empty())
        return {floor<milliseconds>(std::chrono::system_clock::now()), "urn:uuid:" + random_uuid()};
    constexpr unsigned long long last_second = 253402300799; // of the year 9999
    unsigned long long seconds = 0;
    const char* const text_end = text.data() + text.size();
    const auto [end, error] = std::from_chars(text.data(), text_end, seconds);
    if (error != std::errc() || end != text_end || seconds > last_second)
        throw Failure("SOURCE_DATE_EPOCH is no number of seconds since 1970: " +
                          install::tree::printable_text(text),
                      "to use the present time, run: unset SOURCE_DATE_EPOCH");
    return {
        install::tree::InstallTree::Time(std::chrono::seconds(static_cast<std::int64_t>(seconds))),
        std::nullopt};
}

// As text, product by product: the values of all would take many times as much memory.
std::string inventory_as_json(const Root& root, const Health& health, bool compares_contents,
                              const Edition& edition) {
    Inventory inventory(root, health);
    std::string json = R"({"bomFormat":"CycloneDX","specVersion":"1.6","components":[)";
    const char* separator = "";
    for (const Product& product : products_of(health.listing)) {
        json.append(separator).append(foundation::json::serialize(inventory.component_of(product)));
        separator = ",";
    }
    ValueMap rest = {{"version", Value(1ULL)},
                     {"metadata", metadata_of(edition, compares_contents)}};
    if (edition.serial_number)
        rest.emplace("serialNumber", *edition.serial_number);
    if (!inventory.incomplete().empty())
        rest.emplace("compositions", compositions_of(inventory.incomplete()));
    json.append("],").append(foundation::json::serialize(Value(std::move(rest))).substr(1));
    return install::tree::printable_json(json) + '\n';
}

} // namespace kxtree
