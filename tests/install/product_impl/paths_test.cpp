#include "install/product_impl/utils/paths.hpp"

#include "fl/i18n/text_conversion.hpp"
#include "support/failure.hpp"
#include "support/table.hpp"

#include <gtest/gtest.h>

namespace {

using fl::filesystem::path;
using install::ustring;
using namespace install::product_impl::utils;

ustring compose(const std::string& operation, const std::vector<ustring>& texts) {
    if (operation == "join")
        return path(texts[0]).append_element(texts[1]).text();
    if (operation == "parent")
        return fl::filesystem::detail::extract_parent_path(texts[0]);
    if (operation == "xml")
        return getXmlPath(texts[0], texts[1], texts[2], texts[3]).text();
    EXPECT_EQ(operation, "relative");
    return getRelativeXmlPath(texts[0], texts[1], texts[2], texts[3]).text();
}

TEST(Paths, AreComposedAsTheTableSays) {
    for (const auto& row : test::read_table("paths.tsv")) {
        std::vector<ustring> texts;
        for (std::size_t field = 1; field + 1 < row.size(); ++field)
            texts.push_back(fl::i18n::utf8_to_ustring(row[field]));
        std::string result;
        const std::string failure = test::failure_of<std::invalid_argument>(
            [&] { result = fl::i18n::ustring_to_utf8(compose(row[0], texts)); });
        EXPECT_EQ(failure == "none" ? result : failure, row.back()) << row[0] << ' ' << row[1];
    }
}

TEST(Paths, AreAppendedToEvenByThemselves) {
    path joined(u"a");
    joined.append_element(u"b").append_element(static_cast<const char16_t*>(nullptr));
    EXPECT_EQ(test::failure_of<std::invalid_argument>(
                  [&] { joined.append_element(u"../" + ustring(1, 0xD800)); }),
              "path element climbs out of its directory: ill-formed UTF-16 at offset 3");
    EXPECT_EQ(joined.append_element(joined.text()).text(), u"a/b/a/b");
    EXPECT_EQ(joined.append_element(joined.text()).text(), u"a/b/a/b/a/b/a/b");
}

} // namespace
