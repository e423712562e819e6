// Shell folders with their shortcuts.

#include "readers/mediaforge/report_sections.h"

#include <array>
#include <string>

namespace cw::mediaforge {
namespace {

constexpr unsigned own_columns = 1;
constexpr unsigned own_shortcut_columns = 2;

constexpr unsigned of_folder(const media_member_row& member)
{
    return column_of(formats::shell_folder_columns, member, own_columns);
}
constexpr unsigned of_shortcut(const media_member_row& member)
{
    return column_of(formats::shortcut_columns, member, own_shortcut_columns);
}

constexpr auto named_commands =
    std::to_array<value_name>({{1, u"Normal Window"}, {3, u"Maximized Window"}, {7, u"Minimized Window"}});
constexpr value_names show_commands{named_commands};

constexpr std::uint32_t personal_flag = 1;
constexpr std::uint32_t internet_flag = 1;

bool write_folder_type(report_text& text, const storage::typed_row& row, unsigned column)
{
    if (row.is_null(column))
        return false;
    text.add(row.integer(column) & personal_flag ? u"Personal" : u"Common");
    return true;
}

constexpr auto folder_lines = std::to_array<member_line>({
    {u"Display Name", of_folder(media_shell_folder::DisplayName), write_text},
});
constexpr auto folder_words = std::to_array<member_word>({
    {u"Shared", of_folder(media_shell_folder::Shared)},
});
constexpr auto shortcut_lines = std::to_array<member_line>({
    {u"Shortcut Text", of_shortcut(media_shortcut::ShortcutText), write_text},
    {u"Target", of_shortcut(media_shortcut::Target), write_text},
    {u"Parameters", of_shortcut(media_shortcut::Parameters), write_text},
    {u"Start In", of_shortcut(media_shortcut::StartIn), write_text},
    {u"Run", of_shortcut(media_shortcut::ShowCommand), write_named<show_commands>},
    {u"Shortcut Key", of_shortcut(media_shortcut::ShortcutKey), write_text},
    {u"Folder Type", of_shortcut(media_shortcut::FolderType), write_folder_type},
    {u"Other Folder Type Flags", of_shortcut(media_shortcut::FolderType), write_other_flags<personal_flag>},
    {u"Icon File", of_shortcut(media_shortcut::IconFile), write_text},
    {u"Icon Index", of_shortcut(media_shortcut::IconIndex), write_number_but_zero},
});
constexpr auto shortcut_words = std::to_array<member_word>({
    {u"Internet Shortcut", of_shortcut(media_shortcut::ShortcutFlags), internet_flag},
    {u"Uninstall", of_shortcut(media_shortcut::Uninstall)},
    {u"Replace Existing", of_shortcut(media_shortcut::ReplaceExisting)},
    {u"Prevent Pinning", of_shortcut(media_shortcut::PreventPinning)},
    {u"Do not highlight on new install", of_shortcut(media_shortcut::NoHighlightOnInstall)},
    {u"Do not pin to Start screen", of_shortcut(media_shortcut::NoPinToStart)},
    {u"Run As Administrator", of_shortcut(media_shortcut::RunAsAdministrator)},
});
constexpr auto shortcut_rest = std::to_array<member_line>({
    {u"Other Shortcut Flags", of_shortcut(media_shortcut::ShortcutFlags), write_other_flags<internet_flag>},
});

} // namespace

void compose_shell_objects(report_text& text, media_store& media)
{
    storage::database& source = media.source();
    storage::typed_row folder(source, "shell_folder",
                              "SELECT id" + formats::member_column_list(formats::shell_folder_columns) +
                                  " FROM shell_folder ORDER BY id");
    child_rows shortcut(source, "shortcut",
                        "SELECT folder, position" + formats::member_column_list(formats::shortcut_columns) +
                            " FROM shortcut ORDER BY folder, position");
    const std::vector<tree_place> places = places_by_id(tree_order(source, "shell_folder"));
    const ranked_blocks blocks = compose_blocks(folder, places, [&](report_text& block, const tree_place& place) {
        const std::size_t indent = indent_of(place.level) + indent_a_level;
        add_heading(block, place.level, u"Folder", folder.text(of_folder(media_shell_folder::Name)));
        add_lines(block, indent, folder, folder_lines);
        add_words(block, indent, u"Options", folder, folder_words);
        while (shortcut.next(place.id)) {
            const std::size_t below = indent_of(place.level + 1) + indent_a_level;
            add_heading(block, place.level + 1, u"Shortcut", shortcut.text(of_shortcut(media_shortcut::Name)));
            add_lines(block, below, shortcut, shortcut_lines);
            add_words(block, below, u"Options", shortcut, shortcut_words);
            add_lines(block, below, shortcut, shortcut_rest);
        }
    });
    shortcut.finish();
    for (std::size_t rank = 0; rank < blocks.count(); ++rank)
        text.add(blocks[rank]);
}

} // namespace cw::mediaforge
