/// \file
/// A component as an object of the installer.

#pragma once

#include "fl/export.hpp"
#include "install/datamodels/transitive_closure/component.hpp"
#include "install/ustring.hpp"

/// Components as objects.
namespace install::component_impl {

/// A component. It holds a copy of its model's data, and no reference to the model.
class KX_EXPORT ComponentImpl {
public:
    /// Copies both strings of `model`. Throws std::bad_alloc.
    explicit ComponentImpl(const datamodels::transitive_closure::Component& model);

    // Components are shared, not copied: see product_api::ComponentMap.
    ComponentImpl(const ComponentImpl&) = delete;
    ComponentImpl& operator=(const ComponentImpl&) = delete;
    /// Virtual, so that derived components can be held as this class.
    virtual ~ComponentImpl();

    /// Returns the key of the component in product_api::ComponentMap. Throws std::bad_alloc.
    [[nodiscard]] ustring getComponentKey() const;
    /// Returns the name in the model. Throws std::bad_alloc.
    [[nodiscard]] ustring getName() const;

private:
    ustring componentKey_;
    ustring name_;
};

} // namespace install::component_impl
