// The help that is shipped, against the tables that it tells about: nothing in the window is without a
// word, and nothing in the help leads nowhere.

#include "app/menus.h"
#include "foundation/string.h"
#include "media/column_sets.h"
#include "platform/utf8.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <regex>
#include <set>
#include <string>
#include <vector>

namespace cw {
namespace {

namespace fs = std::filesystem;

const fs::path help_folder = fs::path(CW_TEST_SOURCE_DIR) / "resources/help/0409/helplibrary";
constexpr const char* start_page = "CwCabView.htm";

std::string bytes_of(const fs::path& path)
{
    std::ifstream file(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

/// The pages by their paths from the help's folder.
std::map<std::string, std::string> read_pages()
{
    std::map<std::string, std::string> pages;
    for (const fs::directory_entry& entry : fs::recursive_directory_iterator(help_folder))
        if (entry.path().extension() == ".htm")
            pages[entry.path().lexically_relative(help_folder).generic_string()] = bytes_of(entry.path());
    return pages;
}

/// The first group of every match.
std::vector<std::string> all_of(const std::string& text, const char* pattern)
{
    const std::regex expression(pattern);
    std::vector<std::string> found;
    for (std::sregex_iterator at(text.begin(), text.end(), expression), end; at != end; ++at)
        found.push_back(at->str(1));
    return found;
}

/// A label as pages have it: without the mark of its mnemonic.
std::string plain(std::u16string_view label)
{
    std::string text = platform::to_utf8(label);
    std::erase(text, '&');
    for (std::size_t at = 0; (at = text.find_first_of("<>", at)) != std::string::npos;)
        text.replace(at, 1, text[at] == '<' ? "&lt;" : "&gt;");
    return text;
}

std::string bold(std::u16string_view label)
{
    return "<b>" + plain(label) + "</b>";
}

class help_text : public testing::Test {
protected:
    void expect_commands(std::span<const menu_item> items)
    {
        for (const menu_item& item : items) {
            if (item.is_separator())
                continue;
            if (item.is_popup() && item.popup.front().id != ID_FILE_MRU_FIRST) {
                expect_commands(item.popup);
                continue;
            }
            EXPECT_NE(pages["commands.htm"].find("<td>" + bold(item.text) + "</td>"), std::string::npos)
                << plain(item.text);
        }
    }

    std::map<std::string, std::string> pages = read_pages();
};

TEST_F(help_text, has_a_start_page_that_leads_to_all_others)
{
    ASSERT_GT(pages.size(), 5u);
    ASSERT_TRUE(pages.count(start_page));
    const std::vector<std::string> links = all_of(pages[start_page], "<a href=\"([^\"#]*)\"");
    std::set<std::string> reached(links.begin(), links.end());
    EXPECT_EQ(reached.size(), links.size()) << "no page twice";
    reached.insert(start_page);
    for (const auto& [name, page] : pages)
        EXPECT_TRUE(reached.count(name)) << name;
}

TEST_F(help_text, every_link_and_picture_is_there)
{
    int count = 0;
    for (const auto& [name, page] : pages) {
        for (const std::string& link : all_of(page, "(?:href|src)=\"([^\"]*)\"")) {
            ++count;
            const std::size_t mark = link.find('#');
            const std::string file = mark == 0 ? name : link.substr(0, mark);
            EXPECT_TRUE(fs::is_regular_file(help_folder / file)) << name << ": " << link;
            EXPECT_EQ(file.find(".."), std::string::npos) << name << ": " << link;
            if (mark != std::string::npos) {
                EXPECT_NE(pages[file].find("<a name=\"" + link.substr(mark + 1) + "\">"), std::string::npos)
                    << name << ": " << link;
            }
        }
    }
    EXPECT_GT(count, 40);
}

TEST_F(help_text, every_picture_is_used_and_tells_what_it_shows)
{
    std::set<std::string> used;
    for (const auto& [name, page] : pages) {
        for (const std::string& picture : all_of(page, "(<img[^>]*>)")) {
            const std::vector<std::string> texts = all_of(picture, " alt=\"([^\"]*)\"");
            ASSERT_EQ(texts.size(), 1u) << name << ": " << picture;
            EXPECT_GT(texts.front().size(), 15u) << name << ": " << picture;
            // The window makes pictures fit.
            EXPECT_TRUE(all_of(picture, " (width|height)=").empty()) << name << ": " << picture;
            for (const std::string& file : all_of(picture, " src=\"pictures/([^\"]*)\""))
                used.insert(file);
        }
    }
    std::set<std::string> present;
    for (const fs::directory_entry& entry : fs::directory_iterator(help_folder / "pictures"))
        present.insert(entry.path().filename().generic_string());
    EXPECT_FALSE(used.empty());
    EXPECT_EQ(used, present);
}

TEST_F(help_text, is_plain_well_formed_html_without_colours)
{
    const std::set<std::string> alone{"meta", "img", "br", "hr"};
    for (const auto& [name, page] : pages) {
        std::vector<std::string> open;
        for (std::string tag : all_of(page, "<(/?[a-z][a-z0-9]*)[^>]*>")) {
            if (tag.front() != '/') {
                if (!alone.count(tag))
                    open.push_back(tag);
                continue;
            }
            ASSERT_FALSE(open.empty()) << name << ": " << tag;
            ASSERT_EQ("/" + open.back(), tag) << name;
            open.pop_back();
        }
        EXPECT_TRUE(open.empty()) << name;
        EXPECT_EQ(all_of(page, "<title>([^<]+)</title>"), all_of(page, "<h1>([^<]+)</h1>")) << name;
        EXPECT_EQ(all_of(page, "(charset=utf-8)").size(), 1u) << name;
        EXPECT_TRUE(all_of(page, "(&(?!lt;|gt;|amp;)[^ ]*)").empty()) << name;
        // The window's palette has the colours.
        EXPECT_TRUE(all_of(page, "((?:color|style|face)=|<font|<style|<script)").empty()) << name;
    }
}

TEST_F(help_text, tells_about_every_command)
{
    expect_commands(main_menu());
    expect_commands(list_context_menu());
    // The menus themselves are headings there.
    for (const menu_item& menu : main_menu())
        EXPECT_NE(pages["commands.htm"].find("<h2>" + plain(menu.text) + "</h2>"), std::string::npos)
            << plain(menu.text);
}

TEST_F(help_text, tells_about_every_column)
{
    int count = 0;
    for (const ColumnSet& set : column_sets())
        for (const column_definition& column : set.columns) {
            ++count;
            string label;
            label.load(column.label_id);
            const bool of_log = set.kind >= NODEKIND_LOG_FEATURE && set.kind <= NODEKIND_LOG_DOTNET;
            EXPECT_NE(pages[of_log ? "log.htm" : "media-lists.htm"].find(bold(label)), std::string::npos)
                << "kind " << set.kind << ": " << bold(label);
        }
    EXPECT_GT(count, 40);
}

TEST_F(help_text, tells_about_every_property_of_a_media)
{
    // Labels of rows: those of features to the last one of the settings, and the later additions.
    // Values among them stand in the text of their row.
    for (const std::uint32_t first : {152u, 283u})
        for (std::uint32_t id = first; id <= (first == 152u ? 247u : 287u); ++id) {
            string label;
            label.load(id);
            EXPECT_NE(pages["media-lists.htm"].find(plain(label)), std::string::npos) << id << ": " << plain(label);
        }
}

} // namespace
} // namespace cw
