// The report of a media: an account of all that it holds, for people with a text editor.
#pragma once

#include "automation/bstr.h"
#include "readers/mediaforge/media_store.h"

namespace cw::mediaforge {

/// What the media is: product, versions, settings and features. It ends in a blank line, so the second
/// part can follow directly. Both throw what reading rows throws, `automation_error` for a report that is
/// too long, std::bad_alloc.
[[nodiscard]] automation::bstr report_first_part(media_store& media);
/// What the media brings along: components with their files, setup types, shell objects, registry.
[[nodiscard]] automation::bstr report_second_part(media_store& media);

} // namespace cw::mediaforge
