// The sections of a report. Each adds its lines below a title that stands already, and nothing where
// the media has nothing of it. Used by the two parts alone.
#pragma once

#include "readers/mediaforge/media_store.h"
#include "readers/mediaforge/report_lines.h"

namespace cw::mediaforge {

void compose_product(report_text& text, media_store& media);
void compose_versions(report_text& text, media_store& media);
void compose_media_settings(report_text& text, media_store& media);
void compose_arp_info(report_text& text, media_store& media);
void compose_features(report_text& text, media_store& media);
void compose_components(report_text& text, media_store& media);
void compose_setup_types(report_text& text, media_store& media);
void compose_shell_objects(report_text& text, media_store& media);
void compose_registry(report_text& text, media_store& media);

} // namespace cw::mediaforge
