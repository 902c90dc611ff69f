#include "install/product_impl/product_impl.hpp"

#include "fl/i18n/text_conversion.hpp"
#include "install/component_impl/component_impl.hpp"
#include "support/failing_allocation.hpp"
#include "support/failure.hpp"
#include "support/models.hpp"

#include <gtest/gtest.h>

#include <limits>
#include <memory>

namespace {

using namespace install::product_impl;
using install::ustring;
using install::component_impl::ComponentImpl;
namespace model = install::datamodels::transitive_closure;

// A model with something in every field.
model::Product full_model() {
    model::Product source = test::sample_model();
    source->number = u"17";
    source->type = u"tool";
    source->release = u"R1";
    source->releaseDescription = {u'd', 0xD800}; // not converted, so not checked
    source->controlling = true;
    source->installedDate = std::numeric_limits<std::int64_t>::min() + 1;
    source->platforms = {u"win", u"hostpf"};
    for (const auto& [key, basecode] : {std::pair(u"z", u"A"), {u"a", u"B"}, {u"m", u"A"}})
        source->requiredProducts[key]->basecode = basecode;
    source->altDependencies.assign(
        2, {u"1, long enough for the heap|", u"2|", u"\u00E4|", u"4|", u"5"});
    source->localeXmls.emplace_back(u"empty", u"");
    for (const char16_t* name : {u"2", u"1", u"3"}) {
        source->directRequiredComponents[name]->componentKey = *name == u'3' ? u"a" : u"key";
        source->directRequiredComponents[name]->name = name;
    }
    return source;
}

TEST(Product, IsASnapshotOfItsModel) {
    const model::Product source = full_model();
    const ProductImpl product(source);
    *source = {};

    EXPECT_EQ(product.getBasecode() + product.getName() + product.getNumber() + product.getType() +
                  product.getVersion() + product.getRelease(),
              u"STSample Tool17tool2.5R1");
    EXPECT_EQ(product.getReleaseDescription(), (ustring{u'd', 0xD800}));
    EXPECT_TRUE(product.isControlling());
    EXPECT_FALSE(ProductImpl(test::sample_model()).isControlling());
    EXPECT_EQ(product.getInstalledDate(), std::numeric_limits<std::int64_t>::min() + 1);
    EXPECT_EQ(product.getPlatforms(), (std::set<ustring>{u"hostpf", u"win"}));
    EXPECT_EQ(product.getRequiredProductsBasecodes(), (std::vector<ustring>{u"B", u"A", u"A"}));
    ASSERT_EQ(product.getAltDependencies().size(), 2U);
    const AltDependency last = product.getAltDependencies()[1];
    EXPECT_EQ(last.altField1 + last.altField2 + last.altField3 + last.altField4 + last.altField5,
              "1, long enough for the heap|2|\xC3\xA4|4|5");
    EXPECT_TRUE(product.shouldWriteLocaleXml("empty"));
    EXPECT_EQ(product.getPlatformXml("hostpf") + product.getPlatformXml("both"),
              "<host/><platform/>");
    EXPECT_EQ(product.getLocaleXml("both") + product.getLocaleXml("empty"), "<locale/>");
    ASSERT_EQ(product.getComponents().size(), 2U);
    EXPECT_EQ(product.getComponents().begin()->second->getComponentKey(), u"a");
    EXPECT_EQ(product.getComponents().at(u"key")->getName(), u"1");
}

TEST(Product, IsConstructedWholeOrNotAtAll) {
    const model::Product source = full_model();
    EXPECT_GE(test::fail_each_allocation([] { return 0; },
                                         [&](int) { const ProductImpl whole(source); }, [](int) {}),
              15);
}

// Of several faults the first is reported.
TEST(Product, CopiesTheKeyOfAComponentBeforeItMakesTheComponent) {
    const ustring key(1000, u'k');
    const model::Product source = test::sample_model();
    source->directRequiredComponents[u"c"]->componentKey = key;
    ProductImpl product(test::sample_model());
    test::allocations_to_failure = 1;
    EXPECT_THROW(static_cast<void>(product.convertToInstallerComponents(source)), std::bad_alloc);
    EXPECT_EQ(test::failed_size, (key.size() + 1) * sizeof(char16_t));
}

TEST(Product, OfAModelWithIllFormedTextsReportsTheFirst) {
    const model::Product source = full_model();
    model::AltDependency& alternative = source->altDependencies[1];
    // From the last text to the first, each ill-formed at another offset.
    std::size_t offset = 9;
    for (ustring* text :
         {&alternative.field5, &alternative.field4, &alternative.field3, &alternative.field2,
          &alternative.field1, &source->localeXmls.back().second, &source->localeXmls.back().first,
          &source->platformXmls.back().second, &source->platformXmls.back().first}) {
        *text = ustring(--offset, u'a') + char16_t(0xDC00);
        EXPECT_EQ(test::failure_of<fl::i18n::conversion_error>([&] { ProductImpl{source}; }),
                  "ill-formed UTF-16 at offset " + std::to_string(offset));
    }
}

TEST(Product, SharesComponentsAndTheRequiredProductsThatWereSetLast) {
    auto product = std::make_unique<ProductImpl>(full_model());
    auto components = product->getComponents();
    const std::weak_ptr<const ComponentImpl> component = components.at(u"key");
    auto required = std::make_shared<ProductImpl>(test::sample_model());
    const RequiredProductMap two = {{u"any key", required}, {u"another", nullptr}};
    product->setRequiredProducts(two);
    EXPECT_EQ(product->getRequiredProducts(), two);
    EXPECT_EQ(required.use_count(), 3);
    product->setRequiredProducts({});
    EXPECT_EQ(required.use_count(), 2);
    product.reset();
    EXPECT_FALSE(component.expired());
    components.clear();
    EXPECT_TRUE(component.expired());
}

TEST(Product, KeepsItsRequiredProductsIfMemoryIsExhausted) {
    const RequiredProductMap one = {{u"any key", nullptr}};
    const RequiredProductMap two = {{u"any key", nullptr}, {u"another", nullptr}};
    const auto prepare = [&] {
        auto product = std::make_unique<ProductImpl>(test::sample_model());
        product->setRequiredProducts(one);
        return product;
    };
    EXPECT_GT(test::fail_each_allocation(
                  prepare, [&](const auto& product) { product->setRequiredProducts(two); },
                  [&](const auto& product) { EXPECT_EQ(product->getRequiredProducts(), one); }),
              0);
}

// Its required products keep the map alive that takes their place.
TEST(Product, TakesRequiredProductsThatOneOfTheOldOnesOwns) {
    struct Owner : ProductImpl {
        Owner() : ProductImpl(test::sample_model()) {}
        RequiredProductMap products;
    };
    ProductImpl product(test::sample_model());
    auto owner = std::make_shared<Owner>();
    for (const char16_t* key : {u"a key that is long enough for the heap", u"b", u"c"})
        owner->products[key] = std::make_shared<ProductImpl>(test::sample_model());
    const RequiredProductMap expected = owner->products;
    const RequiredProductMap& owned = owner->products;
    product.setRequiredProducts({{u"a", std::move(owner)}, {u"b", nullptr}});
    product.setRequiredProducts(owned);
    EXPECT_EQ(product.getRequiredProducts(), expected);
}

} // namespace
