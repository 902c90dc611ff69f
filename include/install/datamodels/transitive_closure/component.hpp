/// \file
/// The model of a component, from which the installer's objects are made.

#pragma once

#include "fl/export.hpp"
#include "install/ustring.hpp"

#include <memory>

/// \namespace install::datamodels
/// The models from which the installer's objects are made.

/// Models of products and components, with all that they require.
namespace install::datamodels::transitive_closure {

/// A handle to the data of a component. Copies of a handle share the data, which is destroyed with
/// the last of them. A handle is never null.
class Component {
public:
    struct Impl;

    /// A handle to new, empty data. Throws std::bad_alloc.
    KX_EXPORT Component();

    // There is no move, because it would leave a null handle.
    Component(const Component&) = default;
    Component& operator=(const Component&) = default;
    ~Component() = default;

    /// Return the data, which can be modified through a const handle too.
    /// @{
    [[nodiscard]] Impl* operator->() const noexcept { return data_.get(); }
    [[nodiscard]] Impl& operator*() const noexcept { return *data_; }
    /// @}

private:
    std::shared_ptr<Impl> data_;
};

/// The data of a component. Strings are UTF-16, and are not checked.
struct Component::Impl {
    ustring componentKey; ///< the key of the component in its product
    ustring name;         ///< returned by the component as it is
};

} // namespace install::datamodels::transitive_closure
