// Turning values of the media library into the words of the list.
#pragma once

#include "automation/dispatch.h"
#include "foundation/string.h"

#include <cstdint>

namespace cw {

/// Names of a collection of features, or of components, joined with ", ".
[[nodiscard]] string JoinFeatureNames(IDispatch* features);
[[nodiscard]] string JoinComponentNames(IDispatch* components);

/// Keywords of a component's overwrite flags, version part before date part.
[[nodiscard]] string FormatOverwrite(std::int32_t flags);
/// "Critical", "Highly Recommended", "Standard", or empty.
[[nodiscard]] string FormatFileNeed(std::int32_t file_need);
/// A language number in hexadecimal text as decimal text; "n/a" for zero or no number.
[[nodiscard]] string FormatLanguage(const string& language);

} // namespace cw
