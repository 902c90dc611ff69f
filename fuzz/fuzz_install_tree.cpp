// Any bytes in the place of a shared JSON file: a write either throws and leaves the file as it
// was, or changes the entry of its own product and no other member. The texts that the library
// itself writes are edited in-place.

#include "fuzz_target.hpp"

#include "foundation/json/detail/canonical_object.hpp"
#include "foundation/json/serialize.hpp"
#include "install/product_impl/product_impl.hpp"
#include "install/product_impl/utils/files.hpp"
#include "install/product_impl/utils/json_diagnosis.hpp"
#include "install/product_impl/utils/json_file.hpp"
#include "support/temporary_directory.hpp"

#include <algorithm>
#include <cmath>

using foundation::json::serialize;
using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::ValueVector;
using foundation::json::detail::CanonicalObject;
using fuzz::require;
namespace utils = install::product_impl::utils;

namespace {

bool needs_no_escape(const std::string& text) {
    return std::none_of(text.begin(), text.end(), [](unsigned char byte) {
        return byte == '"' || byte == '\\' || byte < 0x20;
    });
}

// Whether the library writes such values: strings, lists of strings, and whole numbers.
bool is_plain(const Value& value) {
    if (const auto* const text = value.get_if<std::string>())
        return needs_no_escape(*text);
    if (const auto* const elements = value.get_if<ValueVector>())
        return std::all_of(elements->begin(), elements->end(), [](const Value& element) {
            return element.get_if<std::string>() != nullptr && is_plain(element);
        });
    const auto* const number = value.get_if<double>();
    return number != nullptr && std::abs(*number) < 1e15 && std::trunc(*number) == *number;
}

bool is_plain_member(const ValueMap::value_type& member) {
    return needs_no_escape(member.first) && member.first != "kxdata" && member.first != "kxtype" &&
           is_plain(member.second);
}

bool is_recognised(std::string text) {
    return CanonicalObject::take(text).has_value();
}

// A round trip changes no text that is edited in-place, and all texts like those that the library
// writes are edited so.
void check_canonical_form(const std::string& text) {
    const fuzz::Reading reading = fuzz::read(text, false);
    const bool is_read = reading.code == 0;
    const std::string written = is_read ? serialize(reading.out) : "";
    require(!is_recognised(text) || text == written, "a round trip keeps a canonical text");
    if (const auto* const members = is_read ? reading.out.get_if<ValueMap>() : nullptr)
        require(is_recognised(written) ==
                    std::all_of(members->begin(), members->end(), is_plain_member),
                "plain texts, and no others, are recognised");
}

// One edit after the other leaves what the writer would make of the members.
void check_edits(std::string text) {
    Value expected = fuzz::read(text, false).out;
    auto object = CanonicalObject::take(text);
    if (!object)
        return;
    for (const std::string key : {"\\", "\"", "\n", "kxdata", "kxtype"}) {
        Value value(true);
        require(!object->set_member(key, value), "such keys are not for editing in-place");
    }
    for (const char* key : {"m", "", "z", "m", "a", "y", "z"}) {
        Value value(std::string(object->text().size() % 7, 'x'));
        expected.get<ValueMap>().insert_or_assign(key, value);
        require(object->set_member(key, value) && object->text() == serialize(expected),
                "an edit leaves what a round trip would");
    }
}

install::product_impl::ProductImpl make_product() {
    install::datamodels::transitive_closure::Product model;
    model->basecode = u"a";
    model->name = u"a";
    return install::product_impl::ProductImpl(model);
}

void check_write(const std::string& file, const std::string& own_key, const std::string& text) {
    static const test::TemporaryDirectory tree;
    static const install::product_impl::ProductImpl product = make_product();
    const fl::ustring path = tree.upath("appdata/" + file);
    std::filesystem::remove_all(tree.path("appdata"));
    tree.write("appdata/" + file, text);
    const utils::JsonFileDiagnosis diagnosis = utils::diagnoseJsonFile(path);
    try {
        product.serialize(tree.upath(), {}, "");
    } catch (const std::runtime_error& error) {
        require(std::string(error.what()).starts_with("invalid conversion: "), "the named failure");
        require(diagnosis.state != utils::JsonFileDiagnosis::State::object,
                "only without an object");
        require(utils::readFile(path) == text, "a failed write leaves the file as it was");
        return;
    }
    ValueMap after = utils::getJsonObjFromFile(path);
    require(after.contains(own_key), "the product has its entry");
    Value expected = fuzz::read(text, false).out;
    expected.get<ValueMap>().insert_or_assign(own_key, after.at(own_key));
    require(utils::readFile(path) == serialize(expected), "the bytes are those of a round trip");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    check_canonical_form(text);
    check_edits(text);
    check_write("prodcontents.json", "a  hostpf", text);
    check_write("installedProductData.json", "a", text);
    return 0;
}
