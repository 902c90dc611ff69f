// The model of a component, as input of the installer's objects.

#pragma once

#include "fl/export.hpp"
#include "install/ustring.hpp"

#include <memory>

namespace install::datamodels::transitive_closure {

/// A handle to a component's record. It always has one, and its copies share it; the record lives
/// until the last of them is gone.
class Component {
public:
    struct Impl;

    /// A handle to a new, empty record.
    KX_EXPORT Component();

    // Copies only: a handle that was moved from would be left without its record.
    Component(const Component&) = default;
    Component& operator=(const Component&) = default;
    ~Component() = default;

    [[nodiscard]] Impl* operator->() const noexcept { return record_.get(); }
    [[nodiscard]] Impl& operator*() const noexcept { return *record_; }

private:
    std::shared_ptr<Impl> record_;
};

/// What is known of a component.
struct Component::Impl {
    ustring componentKey;
    ustring name;
};

} // namespace install::datamodels::transitive_closure
