#include <install/product_impl/product_impl.hpp>
#include <install/product_impl/utils/json_file.hpp>
#include <install/product_impl/utils/paths.hpp>

#include <iostream>

using namespace install::product_impl;

int main() {
    install::datamodels::transitive_closure::Product model;
    model->basecode = u"ST";
    model->name = u"Sample Tool";
    model->version = u"2.5";
    model->platformXmls.emplace_back(u"hostpf", u"<product/>");

    ProductImpl(model).serialize(u"kit", {"hostpf"}, "en");

    for (const auto& entry : utils::getJsonObjFromFile(utils::getContentsMapPath(u"kit").text()))
        std::cout << entry.first << '\n';
}
