// Any bytes in the place of a shared JSON file: a write either throws and leaves the file as it
// was, or changes the entry of its own product and no other member. The texts that the library
// itself writes are edited in-place.

#include "fuzz_target.hpp"

#include "foundation/json/detail/editable_object.hpp"
#include "foundation/json/serialize.hpp"
#include "install/product_impl/product_impl.hpp"
#include "install/product_impl/utils/files.hpp"
#include "install/product_impl/utils/json_file.hpp"
#include "support/temporary_directory.hpp"

using foundation::json::serialize;
using foundation::json::Value;
using foundation::json::ValueMap;
using foundation::json::detail::EditableObject;
namespace utils = install::product_impl::utils;

namespace {

// One edit after the other leaves what the writer makes of the members, in-place or not.
void check_edits(const std::string& text, Value expected) {
    if (expected.get_if<ValueMap>() == nullptr || !text.starts_with('{'))
        return;
    auto& members = expected.get<ValueMap>();
    EditableObject object(text);
    for (const char* key : {"m", "", "z", "m", "\\\"\n", "y", "z", "kxdata", "a", "b", "kxtype"}) {
        const Value value(std::string(members.size() % 7, 'x'));
        members.insert_or_assign(key, value);
        object.set(key, value);
        require(EditableObject(object).text() == serialize(expected),
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
    try {
        product.serialize(tree.upath(), {}, "");
    } catch (const std::runtime_error& error) {
        require(std::string(error.what()).starts_with("invalid conversion: "), "the named failure");
        require(utils::readFile(path) == text, "a failed write leaves the file as it was");
        return;
    }
    ValueMap after = utils::getJsonObjFromFile(path);
    require(after.contains(own_key), "the product has its entry");
    Value expected = test::read(text).out;
    expected.get<ValueMap>().insert_or_assign(own_key, after.at(own_key));
    require(utils::readFile(path) == serialize(expected), "the bytes are those of a round trip");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    check_edits(text, test::read(text).out);
    check_write("prodcontents.json", "a  hostpf", text);
    check_write("installedProductData.json", "a", text);
    return 0;
}
