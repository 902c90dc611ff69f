// Any bytes in the place of a shared JSON file: a write either raises and leaves the file as it
// was, or changes the entry of its own product and no other member.

#include "fuzz_target.hpp"

#include "install/product_impl/product_impl.hpp"
#include "install/product_impl/utils/files.hpp"
#include "install/product_impl/utils/json_diagnosis.hpp"
#include "install/product_impl/utils/json_file.hpp"
#include "support/temporary_directory.hpp"
#include "support/values.hpp"

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
    fuzz::Reading before = fuzz::read(text, false);
    ValueMap after = utils::getJsonObjFromFile(path);
    require(after.erase(own_key) == 1, "the product has its entry");
    before.out.get<ValueMap>().erase(own_key);
    require(Value(std::move(after)) == before.out, "all other members are unchanged");
}

} // namespace

int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(data, data + size);
    check_write("prodcontents.json", "a  hostpf", text);
    check_write("installedProductData.json", "a", text);
    return 0;
}
