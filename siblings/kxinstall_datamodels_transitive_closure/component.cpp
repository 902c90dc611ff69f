#include "install/datamodels/transitive_closure/component.hpp"

namespace install::datamodels::transitive_closure {

Component::Component() : data_(std::make_shared<Impl>()) {}

} // namespace install::datamodels::transitive_closure
