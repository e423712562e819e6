#include "readers/mediaforge/report.h"

#include "readers/mediaforge/report_sections.h"

#include <array>
#include <span>

namespace cw::mediaforge {
namespace {

constexpr std::u16string_view report_title = u"Cratewright Media Report";

struct section {
    std::u16string_view title;
    void (*compose)(report_text& text, media_store& media);
};
constexpr auto first_sections = std::to_array<section>({
    {u"Product", compose_product},
    {u"Versions", compose_versions},
    {u"Media Settings", compose_media_settings},
    {u"Add/Remove Programs", compose_arp_info},
    {u"Features", compose_features},
});
constexpr auto second_sections = std::to_array<section>({
    {u"Components", compose_components},
    {u"Setup Types", compose_setup_types},
    {u"Explorer Shell", compose_shell_objects},
    {u"Registry Entries", compose_registry},
});

void add_title(report_text& text, std::u16string_view title, char16_t underline)
{
    text.add(title);
    text.end_line();
    text.add(std::u16string(title.size(), underline));
    text.end_line();
}

void add_sections(report_text& text, media_store& media, std::span<const section> sections)
{
    for (const section& each : sections) {
        if (&each != sections.data())
            text.end_line();
        add_title(text, each.title, u'-');
        const std::size_t begin = text.size();
        each.compose(text, media);
        if (text.size() == begin) {
            begin_line(text, 1);
            text.add(u"(none)");
            text.end_line();
        }
    }
}

} // namespace

automation::bstr report_first_part(media_store& media)
{
    report_text text;
    add_title(text, report_title, u'=');
    text.end_line();
    add_sections(text, media, first_sections);
    text.end_line();
    return text.to_bstr();
}

automation::bstr report_second_part(media_store& media)
{
    report_text text;
    add_sections(text, media, second_sections);
    return text.to_bstr();
}

} // namespace cw::mediaforge
