// The walk over what a feature's log tells of its properties, for the list and for reports.
#pragma once

#include "bridges/log_interface.h"

#include <cstddef>
#include <functional>
#include <string_view>

namespace cw {

/// Takes a label and a text. `index` counts a scalar among all properties, an element of an array
/// within its array.
using property_sink = std::function<void(std::size_t index, std::u16string_view label, std::u16string_view text)>;

/// Calls `scalar` for each property of one value, and `element` for each element of each array but the
/// first, which holds the labels of the others. Without any property there is one scalar, which says
/// that the feature is not installed. Throws `_com_error` for failing calls, and
/// `invalid_argument_exception` for an array that is longer than the labels.
void walk_feature_properties(IFeatureLog* feature, const property_sink& scalar, const property_sink& element);

} // namespace cw
