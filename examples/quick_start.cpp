#include <install/product_impl/product_impl.hpp>

int main() {
    install::datamodels::transitive_closure::Product model;
    model->basecode = u"ST";
    model->name = u"Sample Tool";
    model->version = u"2.5";
    model->platformXmls.emplace_back(u"hostpf", u"<product/>");

    const install::product_impl::ProductImpl product(model);
    product.serialize(u"kit", {"hostpf"}, "en");
}
