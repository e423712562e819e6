// Components and their files in a report.
#include "mediaforge_report.h"

#include "formats/media_format.h"

#include <algorithm>

namespace cw::mediaforge_tests {
namespace {

using authoring::cell;
using authoring::make_row;

class mediaforge_report_components : public report_test {
protected:
    std::string components(const std::function<void(media_writer&)>& fill)
    {
        return section(report_of(fill), "Components");
    }
};

TEST_F(mediaforge_report_components, each_member_has_its_line)
{
    EXPECT_EQ(
        components([](media_writer& writer) {
            authoring::row members;
            for (const formats::member_column& column : formats::component_columns)
                members.push_back(column.member.type == VT_BSTR ? cell(std::string(column.name))
                                                                : cell(std::int64_t{-1}));
            writer.add_component(members);
            writer.add_component(make_row(formats::component_columns, {}));
        }),
        "\n  Component: name\n"
        "    Destination               destination\n"
        "    Overwrite                 NEWER_VERSION, OLDER_VERSION, SAME_VERSION, NEWER_DATE, OLDER_DATE, SAME_DATE\n"
        "    Other Overwrite Flags     0xFFFFF88F\n"
        "    Operating System(s)       operating_systems\n"
        "    Platform Suites           -1\n"
        "    Language                  language\n"
        "    FTP Location              ftp_location\n"
        "    HTTP Location             http_location\n"
        "    Miscellaneous             miscellaneous\n"
        "    Options                   Shared, Uninstall, Self-Registering, Potentially Locked, Compressed, "
        "Encrypted, Data as files, .NET Assembly, 64-Bit\n"
        "    .NET Assembly             -1\n"
        "    Other Storage Flags       0xFFFFFFF5\n"
        "    Files                     (none)\n\n"
        "  Component:\n"
        "    Files                     (none)\n");
}

TEST_F(mediaforge_report_components, each_number_is_told_as_its_member_answers_it)
{
    const auto option = [](const std::string& word) { return "    Options                   " + word + "\n"; };
    const told_member members[] = {
        {u"PlatformSuites", 3, "    Platform Suites           3\n"},
        {u"PlatformSuites", 0xFFFFFFFF, "    Platform Suites           -1\n"},
        {u"PlatformSuites", beyond_32_bits, ""},
        {u"Shared", 1, option("Shared")},
        {u"Shared", beyond_32_bits, option("Shared")},
        {u"Uninstall", 1, option("Uninstall")},
        {u"SelfRegistering", 1, option("Self-Registering")},
        {u"PotentiallyLocked", 1, option("Potentially Locked")},
        {u"Compressed", 1, option("Compressed")},
        {u"StorageFlags", 2, option("Encrypted")},
        {u"StorageFlags", 8, option("Data as files")},
        {u"StorageFlags", 0x805, "    Other Storage Flags       0x00000805\n"},
        {u"StorageFlags", 0x1A, option("Encrypted, Data as files") + "    Other Storage Flags       0x00000010\n"},
        {u"StorageFlags", beyond_32_bits, ""},
        {u"DotNetAssembly", 1, option(".NET Assembly")},
        {u"DotNetAssembly", 2, option(".NET Assembly") + "    .NET Assembly             2\n"},
        {u"DotNetAssembly", beyond_32_bits, ""},
        {u"SixtyFourBit", 1, option("64-Bit")},
        {u"Overwrite", beyond_32_bits + 2, "    Overwrite                 NEVER_OVERWRITE\n"},
        {u"Overwrite", beyond_32_bits, ""},
        {u"Overwrite", 3, "    Other Overwrite Flags     0x00000003\n"},
        {u"Overwrite", 0x821, "    Overwrite                 NEWER_DATE\n    Other Overwrite Flags     0x00000801\n"},
    };
    const std::string all = components([&](media_writer& writer) {
        for (const told_member& each : members)
            writer.add_component(make_row(formats::component_columns, {{each.name, each.value}}));
    });
    std::string expected;
    for (const told_member& each : members)
        expected += "\n  Component:\n" + each.lines + "    Files                     (none)\n";
    EXPECT_EQ(all, expected);
}

TEST_F(mediaforge_report_components, languages_and_overwriting_are_told_in_words)
{
    const auto line = [&](std::u16string_view member, cell value, const std::string& label) {
        const std::string all = components([&](media_writer& writer) {
            writer.add_component(make_row(formats::component_columns, {{member, value}}));
        });
        const std::size_t begin = all.find("    " + label + "  ");
        if (begin == std::string::npos)
            return std::string("(no line)");
        const std::size_t text = all.find_first_not_of(' ', begin + label.size() + 4);
        return all.substr(text, all.find('\n', text) - text);
    };
    const std::pair<const char*, const char*> languages[] = {
        {"0409", "1033"},  {"040C", "1036"},           {"40c", "1036"},      {"0000", "(no line)"},
        {"", "(no line)"}, {"FFFFFFFF", "4294967295"}, {"German", "German"}, {"000000409", "000000409"}};
    for (const auto& [stored, shown] : languages)
        EXPECT_EQ(line(u"Language", stored, "Language"), shown) << stored;
    const std::pair<std::int64_t, const char*> overwriting[] = {{1, "ALWAYS_OVERWRITE"},
                                                                {2, "NEVER_OVERWRITE"},
                                                                {3, "(no line)"},
                                                                {0, "(no line)"},
                                                                {0x10, "SAME_DATE"},
                                                                {0x20, "NEWER_DATE"},
                                                                {0x40, "OLDER_DATE"},
                                                                {0x100, "SAME_VERSION"},
                                                                {0x200, "NEWER_VERSION"},
                                                                {0x400, "OLDER_VERSION"},
                                                                {0x120, "SAME_VERSION, NEWER_DATE"}};
    for (const auto& [flags, shown] : overwriting)
        EXPECT_EQ(line(u"Overwrite", flags, "Overwrite"), shown) << flags;
}

TEST_F(mediaforge_report_components, files_stand_in_columns)
{
    EXPECT_EQ(
        components([](media_writer& writer) {
            writer.add_component(make_row(formats::component_columns, {{u"Name", "Empty"}}));
            const auto component = writer.add_component(make_row(formats::component_columns, {{u"Name", "Full"}}));
            authoring::file_row file;
            file.name = "a.txt";
            file.size_in_bytes = 1;
            file.compressed_size_in_bytes = 2;
            file.date = 36925.5;
            file.version = "1.2";
            file.md5 = formats::md5_digest{0x01, 0xAB};
            file.flags = 0x10001;
            writer.add_file(component, file);
            file = {};
            file.name = "中文.html";
            file.size_in_bytes = 9'876'543'210;
            file.flags = -1;
            writer.add_file(component, file);
            file = {};
            file.name = "\\";
            writer.add_file(component, file);
            file.name = std::string(36, 'n');
            writer.add_file(component, file);
            file.name = std::string(37, 'n');
            file.version = "a version that is longer than its column";
            file.md5 = formats::md5_digest{};
            file.date = 1e9;
            writer.add_file(component, file);
            file = {};
            file.name = "wide";
            file.version = "二.零e\u0301";
            file.md5 = formats::md5_digest{};
            file.date = 1e300;
            file.flags = 1;
            writer.add_file(component, file);
            file.name = "no width";
            file.version = "\u200D";
            writer.add_file(component, file);
        }),
        "\n  Component: Empty\n"
        "    Files                     (none)\n\n"
        "  Component: Full\n\n"
        "    Filename                                     Size  Compressed Size  Date                 Version          "
        "MD5 Signature                     Flags\n"
        "    a.txt                                           1                2  2001-02-03 12:00:00  1.2              "
        "01ab0000000000000000000000000000  0x00010001\n"
        "    中文.html                              9876543210                0  1899-12-30 00:00:00                  "
        "                                   0xFFFFFFFF\n"
        "    \\\n"
        "    nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn            0                0  1899-12-30 00:00:00\n"
        "    nnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnnn\n"
        "                                                    0                0  1e+09                a version that "
        "is "
        "longer than its column  00000000000000000000000000000000\n"
        "    wide                                            0                0  1e+300               二.零e\u0301     "
        "      "
        "00000000000000000000000000000000  0x00000001\n"
        "    no width                                        0                0  1e+300               \u200D           "
        "      "
        "00000000000000000000000000000000  0x00000001\n");
}

TEST_F(mediaforge_report_components, many_files_are_told_one_by_one)
{
    constexpr int files = 5000;
    const std::string all = components([](media_writer& writer) {
        for (int component = 0; component < 2; ++component) {
            const auto id = writer.add_component(make_row(formats::component_columns, {{u"Name", "C"}}));
            for (int i = 0; i < files; ++i) {
                authoring::file_row file;
                file.name = "file" + std::to_string(i);
                file.size_in_bytes = static_cast<std::uint64_t>(i);
                writer.add_file(id, file);
            }
        }
    });
    EXPECT_EQ(std::count(all.begin(), all.end(), '\n'), 2 * (files + 4)) << all.substr(0, 400);
    EXPECT_NE(all.find("\n    file4999                                     4999"), std::string::npos);
}

} // namespace
} // namespace cw::mediaforge_tests
