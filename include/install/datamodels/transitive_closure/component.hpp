/// \file
/// The model of a component, as input of the installer's objects.

#pragma once

#include "fl/export.hpp"
#include "install/ustring.hpp"

#include <memory>

/// \namespace install::datamodels
/// What the installer's objects are made from.

/// Models of products and components together with all that they require.
namespace install::datamodels::transitive_closure {

/// A handle to a component's record. It always has one, and its copies share it; the record lives
/// until the last of them is gone.
class Component {
public:
    struct Impl;

    /// A handle to a new, empty record. Raises std::bad_alloc.
    KX_EXPORT Component();

    /// Shares the record of the other. Handles are not moved: one that was moved from would be left
    /// without its record.
    Component(const Component&) = default;
    /// Shares the other's record, and gives up the share in its own.
    Component& operator=(const Component&) = default;
    /// The last handle takes the record with it.
    ~Component() = default;

    /// Gives the record to read and to fill, through a const handle too.
    [[nodiscard]] Impl* operator->() const noexcept { return record_.get(); }
    /// The same as a reference.
    [[nodiscard]] Impl& operator*() const noexcept { return *record_; }

private:
    std::shared_ptr<Impl> record_;
};

/// What is known of a component. Texts are UTF-16, and kept as they are.
struct Component::Impl {
    ustring componentKey; ///< by which the component is found in a product
    ustring name;         ///< passed on
};

} // namespace install::datamodels::transitive_closure
