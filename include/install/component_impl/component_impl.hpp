/// \file
/// A component as an object of the installer.

#pragma once

#include "fl/export.hpp"
#include "install/datamodels/transitive_closure/component.hpp"
#include "install/ustring.hpp"

/// Components as objects.
namespace install::component_impl {

/// A snapshot of a component's model: it keeps nothing of the model itself.
class KX_EXPORT ComponentImpl {
public:
    /// Copies both texts out of `model`. Raises std::bad_alloc.
    explicit ComponentImpl(const datamodels::transitive_closure::Component& model);

    /// Components are shared, not copied: see product_api::ComponentMap.
    ComponentImpl(const ComponentImpl&) = delete;
    /// Components never change.
    ComponentImpl& operator=(const ComponentImpl&) = delete;
    /// Virtual, so that derived components can be held as this class.
    virtual ~ComponentImpl();

    /// A copy of the key by which products know the component.
    [[nodiscard]] ustring getComponentKey() const;
    /// The name, as the model had it.
    [[nodiscard]] ustring getName() const;

private:
    ustring componentKey_;
    ustring name_;
};

} // namespace install::component_impl
