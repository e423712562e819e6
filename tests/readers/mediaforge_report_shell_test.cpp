// Shell folders and shortcuts in a report.
#include "mediaforge_report.h"

#include "formats/media_format.h"

namespace cw::mediaforge_tests {
namespace {

using authoring::cell;
using authoring::make_row;

class mediaforge_report_shell : public report_test {
protected:
    static authoring::row folder(const char* name)
    {
        return make_row(formats::shell_folder_columns, {{u"Name", name}});
    }
    static authoring::row shortcut(const char* name) { return make_row(formats::shortcut_columns, {{u"Name", name}}); }
};

TEST_F(mediaforge_report_shell, each_member_has_its_line)
{
    const std::string all = report_of([](media_writer& writer) {
        const auto parent = writer.add_shell_folder(
            0, make_row(formats::shell_folder_columns,
                        {{u"Name", "Folder"}, {u"DisplayName", "Shown"}, {u"Shared", std::int64_t{1}}}));
        authoring::row members;
        for (const formats::member_column& column : formats::shortcut_columns)
            members.push_back(column.member.type == VT_BSTR ? cell(std::string(column.name)) : cell(std::int64_t{1}));
        writer.add_shortcut(parent, members);
        for (const auto& [command, type] : {std::pair<std::int64_t, std::int64_t>{3, 0}, {7, 1}, {5, 2}, {0, 0}})
            writer.add_shortcut(parent, make_row(formats::shortcut_columns,
                                                 {{u"Name", "S"}, {u"ShowCommand", command}, {u"FolderType", type}}));
    });
    EXPECT_EQ(section(all, "Explorer Shell"),
              "\n  Folder: Folder\n"
              "    Display Name              Shown\n"
              "    Options                   Shared\n\n"
              "    Shortcut: name\n"
              "      Shortcut Text             shortcut_text\n"
              "      Target                    target\n"
              "      Parameters                parameters\n"
              "      Start In                  start_in\n"
              "      Run                       Normal Window\n"
              "      Shortcut Key              shortcut_key\n"
              "      Folder Type               Personal\n"
              "      Icon File                 icon_file\n"
              "      Icon Index                1\n"
              "      Options                   Internet Shortcut, Uninstall, Replace Existing, Prevent Pinning, Do not "
              "highlight on new install, Do not pin to Start screen, Run As Administrator\n\n"
              "    Shortcut: S\n"
              "      Run                       Maximized Window\n"
              "      Folder Type               Common\n\n"
              "    Shortcut: S\n"
              "      Run                       Minimized Window\n"
              "      Folder Type               Personal\n\n"
              "    Shortcut: S\n"
              "      Run                       5\n"
              "      Folder Type               Common\n"
              "      Other Folder Type Flags   0x00000002\n\n"
              "    Shortcut: S\n"
              "      Folder Type               Common\n");
}

TEST_F(mediaforge_report_shell, each_number_is_told_as_its_member_answers_it)
{
    const std::string common = "      Folder Type               Common\n";
    const auto option = [&](const std::string& word) {
        return common + "      Options                   " + word + "\n";
    };
    const told_member members[] = {
        {u"ShowCommand", 1, "      Run                       Normal Window\n" + common},
        {u"ShowCommand", beyond_32_bits + 3, "      Run                       Maximized Window\n" + common},
        {u"ShowCommand", beyond_32_bits, common},
        {u"FolderType", -1, "      Folder Type               Personal\n      Other Folder Type Flags   0xFFFFFFFE\n"},
        {u"FolderType", beyond_32_bits, common},
        {u"IconIndex", 40000, common + "      Icon Index                40000\n"},
        {u"IconIndex", beyond_32_bits, common},
        {u"ShortcutFlags", 1, option("Internet Shortcut")},
        {u"ShortcutFlags", 0x11, option("Internet Shortcut") + "      Other Shortcut Flags      0x00000010\n"},
        {u"ShortcutFlags", 0x80000000, common + "      Other Shortcut Flags      0x80000000\n"},
        {u"ShortcutFlags", beyond_32_bits, common},
        {u"Uninstall", 1, option("Uninstall")},
        {u"ReplaceExisting", 1, option("Replace Existing")},
        {u"PreventPinning", 1, option("Prevent Pinning")},
        {u"NoHighlightOnInstall", 1, option("Do not highlight on new install")},
        {u"NoPinToStart", 1, option("Do not pin to Start screen")},
        {u"RunAsAdministrator", 1, option("Run As Administrator")},
        {u"RunAsAdministrator", beyond_32_bits, option("Run As Administrator")},
    };
    const std::string all = report_of([&](media_writer& writer) {
        const auto parent = writer.add_shell_folder(0, folder("F"));
        for (const told_member& each : members)
            writer.add_shortcut(parent, make_row(formats::shortcut_columns, {{each.name, each.value}}));
    });
    std::string expected = "\n  Folder: F\n";
    for (const told_member& each : members)
        expected += "\n    Shortcut:\n" + each.lines;
    EXPECT_EQ(section(all, "Explorer Shell"), expected);
}

TEST_F(mediaforge_report_shell, folders_nest_with_their_shortcuts_before_what_is_below)
{
    const std::string path = make_header([](media_writer& writer) {
        const auto first = writer.add_shell_folder(0, folder("first"));
        const auto second = writer.add_shell_folder(0, folder("second"));
        const auto below = writer.add_shell_folder(first, folder("below"));
        writer.add_shortcut(below, shortcut("deep"));
        writer.add_shortcut(first, shortcut("one"));
        writer.add_shortcut(first, shortcut("two"));
        writer.add_shortcut(second, shortcut("other"));
    });
    alter(path, "UPDATE shell_folder SET position = 5 WHERE id = 1; UPDATE shell_folder SET position = 0 WHERE id = 2;"
                "UPDATE shell_folder SET position = 1 WHERE id = 1");
    const auto line = [](std::size_t indent, const std::string& name) {
        return "\n" + std::string(indent, ' ') + "Shortcut: " + name + "\n" + std::string(indent + 2, ' ') +
               "Folder Type               Common\n";
    };
    EXPECT_EQ(section(report(open(path).get()), "Explorer Shell"),
              "\n  Folder: second\n" + line(4, "other") + "\n  Folder: first\n" + line(4, "one") + line(4, "two") +
                  "\n    Folder: below\n" + line(6, "deep"));
}

TEST_F(mediaforge_report_shell, folders_nest_as_deep_as_they_may)
{
    const std::string all = report_of([](media_writer& writer) {
        std::int64_t parent = 0;
        for (int i = 1; i <= 1000; ++i)
            parent = writer.add_shell_folder(parent, folder("n"));
        writer.add_shortcut(parent, shortcut("last"));
    });
    EXPECT_TRUE(all.find("(level 1000) Folder: n\n\n" + std::string(32, ' ') + "(level 1001) Shortcut: last\n") !=
                std::string::npos);
    EXPECT_LT(all.size(), 100'000u);
}

} // namespace
} // namespace cw::mediaforge_tests
