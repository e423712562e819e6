// The walk over what a feature's log tells of its properties, for the list, for reports and for the
// search.
#pragma once

#include "bridges/log_interface.h"

#include <cstddef>
#include <functional>
#include <string_view>

namespace cw {

/// Takes a property of one value. `index` counts it among all properties. True goes on with the walk.
using scalar_visitor = std::function<bool(std::size_t index, std::u16string_view name, const VARIANT& value)>;
/// Takes an element of an array, with the label that belongs to it. `index` counts within the array. True
/// goes on with the walk.
using element_visitor = std::function<bool(std::size_t index, std::u16string_view label, std::u16string_view text)>;

enum class property_walk_end { stopped, no_properties, all_visited };

/// Calls `scalar` for each property of one value, and `element` for each element of each array but the
/// first, which holds the labels of the others, until one of them answers false. Throws `_com_error` for
/// failing calls, and `invalid_argument_exception` for an array that is longer than the labels.
property_walk_end visit_feature_properties(IFeatureLog* feature, const scalar_visitor& scalar,
                                           const element_visitor& element);

/// Takes a label and a text. `index` counts a scalar among all properties, an element of an array
/// within its array.
using property_sink = std::function<void(std::size_t index, std::u16string_view label, std::u16string_view text)>;

/// The same walk to its end, with values as the texts that people read: states by name, and one scalar
/// where there is no property, which says that the feature is not installed.
void walk_feature_properties(IFeatureLog* feature, const property_sink& scalar, const property_sink& element);

} // namespace cw
