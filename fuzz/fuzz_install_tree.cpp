// Any bytes in the place of a shared JSON file: a write either raises and leaves the file as it
// was, or changes the entry of its own product and no other member.

#include "fuzz_target.hpp"

#include "foundation/json/serialize.hpp"
#include "install/product_impl/product_impl.hpp"
#include "install/product_impl/utils/files.hpp"
#include "install/product_impl/utils/json_diagnosis.hpp"
#include "install/product_impl/utils/json_file.hpp"
#include "support/temporary_directory.hpp"

using foundation::json::Value;
using foundation::json::ValueMap;
using fuzz::require;
namespace utils = install::product_impl::utils;

namespace {

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
        require(utils::readFile(path) == text, "a file that raised is as it was");
        return;
    }
    ValueMap after = utils::getJsonObjFromFile(path);
    require(after.contains(own_key), "the product has its entry");
    Value& entry = after.at(own_key);
    if (const auto* const time = entry.get_if<double>()) // written as a whole number
        entry = Value(static_cast<long long>(*time));
    fuzz::Reading expected = fuzz::read(text, false);
    expected.out.get<ValueMap>().insert_or_assign(own_key, entry);
    require(utils::readFile(path) == foundation::json::serialize(expected.out),
            "the file is as if all values had been read and written");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    check_write("prodcontents.json", "a  hostpf", text);
    check_write("installedProductData.json", "a", text);
    return 0;
}
