#include "install/product_impl/product_impl.hpp"

#include "fl/i18n/text_conversion.hpp"
#include "install/component_impl/component_impl.hpp"
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

model::Component component(const ustring& key, const ustring& name) {
    model::Component component;
    component->componentKey = key;
    component->name = name;
    return component;
}

model::Product required(const ustring& basecode) {
    model::Product product;
    product->basecode = basecode;
    return product;
}

TEST(Product, IsASnapshotOfItsModel) {
    model::Product source = test::sample_model();
    source->number = u"17";
    source->type = u"tool";
    source->release = u"R1";
    source->releaseDescription = {u'd', 0xD800}; // not for us to judge
    source->controlling = true;
    source->installedDate = std::numeric_limits<std::int64_t>::min() + 1;
    source->platforms = {u"win", u"hostpf"};
    source->requiredProducts = {
        {u"z", required(u"A")}, {u"a", required(u"B")}, {u"m", required(u"A")}};
    source->altDependencies.assign(2, {u"1", u"\u00E4", u"", u"4", u"5"});
    source->localeXmls.emplace_back(u"empty", u"");
    source->directRequiredComponents = {{u"2", component(u"key", u"second")},
                                        {u"1", component(u"key", u"first")},
                                        {u"3", component(u"a", u"third")}};
    const ProductImpl product(source);
    *source = {};

    EXPECT_EQ(product.getBasecode(), u"ST");
    EXPECT_EQ(product.getName(), u"Sample Tool");
    EXPECT_EQ(product.getNumber(), u"17");
    EXPECT_EQ(product.getType(), u"tool");
    EXPECT_EQ(product.getVersion(), u"2.5");
    EXPECT_EQ(product.getRelease(), u"R1");
    EXPECT_EQ(product.getReleaseDescription(), (ustring{u'd', 0xD800}));
    EXPECT_TRUE(product.isControlling());
    EXPECT_EQ(product.getInstalledDate(), std::numeric_limits<std::int64_t>::min() + 1);
    EXPECT_EQ(product.getPlatforms(), (std::set<ustring>{u"hostpf", u"win"}));
    EXPECT_TRUE(product.getRequiredProducts().empty());
    EXPECT_EQ(product.getRequiredProductsBasecodes(), (std::vector<ustring>{u"B", u"A", u"A"}));
    const std::vector<AltDependency> alternatives = product.getAltDependencies();
    ASSERT_EQ(alternatives.size(), 2U);
    const AltDependency& last = alternatives[1];
    EXPECT_EQ(last.altField1 + "|" + last.altField2 + "|" + last.altField3, "1|\xC3\xA4|");
    EXPECT_EQ(last.altField4 + "|" + last.altField5, "4|5");
    EXPECT_TRUE(product.shouldWriteLocaleXml("empty"));
    const ComponentMap components = product.getComponents();
    ASSERT_EQ(components.size(), 2U);
    EXPECT_EQ(components.begin()->first, u"a");
    EXPECT_EQ(components.at(u"key")->getName(), u"first");
}

TEST(Product, OfAModelWithIllFormedTextTellsTheFirstFault) {
    const model::Product source = test::sample_model();
    source->platformXmls.emplace_back();
    source->localeXmls.emplace_back();
    source->altDependencies.emplace_back();
    model::AltDependency& alternative = source->altDependencies[0];
    // Spoilt from the last text to the first, each at another offset.
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

TEST(Product, SharesComponentsAndTheRequiredProductsThatItWasGivenLast) {
    model::Product source = test::sample_model();
    source->directRequiredComponents = {{u"1", component(u"key", u"name")}};
    std::unique_ptr<install::product_api::Product> product = std::make_unique<ProductImpl>(source);
    ComponentMap components = product->getComponents();
    const std::weak_ptr<const ComponentImpl> shared = components.at(u"key");
    RequiredProductMap two = {{u"any key", std::make_shared<ProductImpl>(test::sample_model())},
                              {u"another", nullptr}};
    const std::weak_ptr<install::product_api::Product> watched = two.at(u"any key");
    product->setRequiredProducts(two);
    EXPECT_EQ(product->getRequiredProducts(), two);
    EXPECT_TRUE(product->getRequiredProductsBasecodes().empty());
    two.clear();
    EXPECT_FALSE(watched.expired());
    RequiredProductMap handed_out = product->getRequiredProducts();
    product->setRequiredProducts({});
    EXPECT_TRUE(product->getRequiredProducts().empty());
    product.reset();
    EXPECT_FALSE(watched.expired());
    ASSERT_FALSE(shared.expired());
    EXPECT_EQ(shared.lock()->getComponentKey(), u"key");
    handed_out.clear();
    components.clear();
    EXPECT_TRUE(watched.expired());
    EXPECT_TRUE(shared.expired());
}

} // namespace
