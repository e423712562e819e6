#include "mediaforge_report.h"

namespace cw::mediaforge_tests {

std::string report_test::part(IDispatch* media, const media_member_row& which)
{
    std::string lines = narrow(text(child(media, media::Report).get(), which));
    std::string single;
    for (std::size_t at = 0; at < lines.size(); ++at) {
        if (lines[at] == '\r' && at + 1 < lines.size() && lines[at + 1] == '\n')
            continue;
        EXPECT_NE(lines[at], '\r') << "a lone carriage return at " << at;
        if (lines[at] == '\n') {
            EXPECT_TRUE(at > 0 && lines[at - 1] == '\r') << "a lone line feed at " << at;
            EXPECT_FALSE(single.ends_with(' ')) << "blanks end a line: " << single.substr(single.rfind('\n') + 1);
        }
        single += lines[at];
    }
    EXPECT_TRUE(single.ends_with('\n'));
    return single;
}

std::string report_test::section(const std::string& report, const std::string& title)
{
    const std::string heading = title + "\n" + std::string(title.size(), '-') + "\n";
    const std::size_t begin = report.find("\n" + heading);
    if (begin == std::string::npos && !report.starts_with(heading)) {
        ADD_FAILURE() << "there is no section " << title;
        return {};
    }
    const std::size_t content = (begin == std::string::npos ? 0 : begin + 1) + heading.size();
    const std::size_t underline = report.find("\n---", content);
    if (underline == std::string::npos)
        return report.substr(content);
    const std::size_t next_title = report.rfind('\n', underline - 1);
    // The blank line between two sections belongs to neither.
    return report.substr(content, next_title - content);
}

void report_test::expect_failure(IDispatch* media, const media_member_row& which, std::u16string_view table)
{
    constexpr int contradiction = 31;
    const outcome answer = call(child(media, media::Report).get(), which);
    EXPECT_EQ(answer.result, failure(contradiction)) << narrow(answer.description);
    EXPECT_TRUE(answer.tells(table)) << narrow(answer.description);
    EXPECT_TRUE(answer.tells(u"media.hdr")) << narrow(answer.description);
}

} // namespace cw::mediaforge_tests
