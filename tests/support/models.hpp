// A product model to start from.

#pragma once

#include "install/datamodels/transitive_closure/product.hpp"

namespace test {

/// Sample Tool 2.5, basecode ST: documents for hostpf, where the first of two counts, otherpf and
/// both, and for the locales en and both.
inline install::datamodels::transitive_closure::Product sample_model() {
    install::datamodels::transitive_closure::Product model;
    model->basecode = u"ST";
    model->name = u"Sample Tool";
    model->version = u"2.5";
    model->platformXmls = {{u"hostpf", u"<host/>"},
                           {u"otherpf", u"<other \u00E4/>"},
                           {u"hostpf", u"<second/>"},
                           {u"both", u"<platform/>"}};
    model->localeXmls = {{u"en", u"<en/>"}, {u"both", u"<locale/>"}};
    return model;
}

} // namespace test
