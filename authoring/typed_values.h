// Values with an automation type as manifests write them: 7, "text", true, null, or
// {"vt": "VT_R8", "value": 1.5}. Used for object properties and registry data.
#pragma once

#include "authoring/json_node.h"
#include "authoring/media_writer.h"

namespace cw::authoring {

/// A scalar, or an array of one dimension with its lower bound and typed elements. A plain list is
/// an array of texts. Fails at the node for anything else.
[[nodiscard]] typed_value read_typed_value(const json_node& node);

/// A date: "2001-02-03T00:04:05", or the day count itself.
[[nodiscard]] double read_date(const json_node& node);

} // namespace cw::authoring
