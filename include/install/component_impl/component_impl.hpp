// A component as an object of the installer.

#pragma once

#include "fl/export.hpp"
#include "install/datamodels/transitive_closure/component.hpp"
#include "install/ustring.hpp"

namespace install::component_impl {

/// A snapshot of a component's model: it keeps nothing of the model itself.
class KX_EXPORT ComponentImpl {
public:
    /// Raises std::bad_alloc.
    explicit ComponentImpl(const datamodels::transitive_closure::Component& model);
    ComponentImpl(const ComponentImpl&) = delete;
    ComponentImpl& operator=(const ComponentImpl&) = delete;
    virtual ~ComponentImpl();

    [[nodiscard]] ustring getComponentKey() const;
    [[nodiscard]] ustring getName() const;

private:
    ustring componentKey_;
    ustring name_;
};

} // namespace install::component_impl
