#include <install/tree/install_tree.hpp>

#include <iostream>
#include <memory>

using install::product_impl::ProductImpl;
using namespace install::tree;

int main() {
    std::vector<ProductSelection> products;
    for (const char16_t* const name : {u"Editor", u"Viewer"}) {
        install::datamodels::transitive_closure::Product model;
        model->basecode = model->name = name;
        model->version = u"2.5";
        model->platformXmls.emplace_back(u"hostpf", u"<product/>");
        products.push_back({std::make_shared<const ProductImpl>(model), {"hostpf"}, ""});
    }
    try {
        InstallTree tree(u"kit", {.missing_documents = MissingDocuments::refuse});
        tree.write(products);
        for (const ContentsEntry& entry : tree.list().contents)
            std::cout << entry.key << '\n';
    } catch (const tree_error& error) {
        std::cerr << error.what() << '\n'; // the tree is as it was
        return 1;
    }
}
