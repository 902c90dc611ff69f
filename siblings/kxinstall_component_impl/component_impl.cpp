#include "install/component_impl/component_impl.hpp"

namespace install::component_impl {

ComponentImpl::ComponentImpl(const datamodels::transitive_closure::Component& model)
    : componentKey_(model->componentKey),
      name_(model->name) {}

ComponentImpl::~ComponentImpl() = default;

ustring ComponentImpl::getComponentKey() const {
    return componentKey_;
}

ustring ComponentImpl::getName() const {
    return name_;
}

} // namespace install::component_impl
