// Asks a media for its report and turns it into lines that tests can be written with.
#pragma once

#include "mediaforge_support.h"

#include <string>
#include <string_view>

namespace cw::mediaforge_tests {

/// A member that alone has a value, and the lines that tell it.
struct told_member {
    std::u16string_view name;
    std::int64_t value;
    std::string lines;
};
/// What is beyond 32 bits of a stored number, which no member answers.
inline constexpr std::int64_t beyond_32_bits = std::int64_t{1} << 32;

class report_test : public media_test {
protected:
    /// A part of the report in UTF-8, its line ends checked and made single.
    static std::string part(IDispatch* media, const media_member_row& which);
    /// Both parts, one directly behind the other.
    static std::string report(IDispatch* media)
    {
        return part(media, media_report::FirstPart) + part(media, media_report::SecondPart);
    }
    /// The report of a header with rows of its own.
    std::string report_of(const std::function<void(media_writer&)>& fill)
    {
        return report(open(make_header(fill)).get());
    }
    /// What stands below a title, up to the next one.
    static std::string section(const std::string& report, const std::string& title);
    /// The report of a header fails on both parts or on one, telling the table.
    static void expect_failure(IDispatch* media, const media_member_row& which, std::u16string_view table);
};

} // namespace cw::mediaforge_tests
