#include "console/session.h"

#include "console/index_path.h"
#include "console/list_output.h"
#include "console/safe_text.h"
#include "console/tree_output.h"
#include "platform/utf8.h"

#include <nlohmann/json.hpp>

#include <array>
#include <charconv>
#include <filesystem>
#include <functional>
#include <ostream>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace cw::console {
namespace {

using json = nlohmann::ordered_json;

constexpr std::string_view blanks = " \t";

/// Why a line cannot be done, in one line.
struct refusal : std::runtime_error {
    using std::runtime_error::runtime_error;
};

/// What an answer holds behind "ok". The parts that can be long are written rather than built up.
struct answer {
    json fields = json::object();
    /// Writes more fields, each pair behind a comma; may be empty.
    std::function<void(std::ostream&)> write_json = {};
    /// The answer for people in place of a line for each field; may be empty.
    std::function<void(std::ostream&)> write_text = {};
    bool closed = false;
};

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(blanks);
    if (first == text.npos)
        return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

/// The first word, taken off the front of `text` together with the one blank behind it.
std::string_view take_word(std::string_view& text)
{
    const std::size_t end = std::min(text.find_first_of(blanks), text.size());
    const std::string_view word = text.substr(0, end);
    text.remove_prefix(std::min(end + 1, text.size()));
    return word;
}

template <class Number>
Number number_of(std::string_view text, int base = 10)
{
    Number value{};
    const auto [behind, failure] = std::from_chars(text.data(), text.data() + text.size(), value, base);
    if (failure != std::errc{} || behind != text.data() + text.size())
        throw refusal("\"" + std::string(text) + "\" is no number");
    return value;
}

/// Decimal, or hexadecimal behind "0x".
std::uint32_t code_of(std::string_view text)
{
    const bool is_hexadecimal = text.starts_with("0x") || text.starts_with("0X");
    return is_hexadecimal ? number_of<std::uint32_t>(text.substr(2), 16) : number_of<std::uint32_t>(text);
}

/// A path of the session's line: a backslash path stands as it is, a relative native one is made
/// absolute.
std::u16string path_of(std::string_view text)
{
    const bool is_backslash_path = !text.starts_with('/') && text.find('\\') != text.npos;
    return is_backslash_path ? platform::path_from_bytes(text) : absolute_path(std::string(text));
}

bool is_utf8(std::string_view text)
{
    return platform::to_utf8(platform::from_utf8(text)) == text;
}

json optional_flag(const std::optional<bool>& flag)
{
    return flag ? json(*flag) : json(nullptr);
}

json texts_of(const std::vector<std::u16string>& texts)
{
    json all = json::array();
    for (const std::u16string& text : texts)
        all.push_back(json_text(text));
    return all;
}

json row_of(const CListCtrl& list)
{
    const std::size_t row = list.GetSelectedRow();
    return row == CListCtrl::no_row ? json(nullptr) : json(row);
}

// ---- the commands -------------------------------------------------------------------------------

answer open(headless_application& viewer, std::string_view argument)
{
    const std::u16string path = path_of(argument);
    bool opened = false;
    viewer.frame().Guard([&] { opened = viewer.frame().OpenFile(string(path)); });
    return {.fields = {{"result", opened}}};
}

answer tree(headless_application& viewer, std::string_view)
{
    answer result;
    result.write_json = [&viewer](std::ostream& out) {
        out << ",\"tree\":";
        write_tree_json(out, viewer.frame().Tree(), viewer.frame().NavNodes());
    };
    result.write_text = [&viewer](std::ostream& out) { print_tree(out, viewer.frame().Tree()); };
    return result;
}

answer select(headless_application& viewer, std::string_view argument)
{
    HTREEITEM item;
    if (argument != "none") {
        const auto places = parse_index_path(argument);
        if (!places)
            throw refusal("\"" + std::string(argument) + "\" is no path of places such as 0/2/1");
        item = item_at(viewer.frame().Tree(), *places);
        if (!item)
            throw refusal("no item at " + std::string(argument));
    }
    // What went wrong is told with the answer, like every error that nothing caught.
    (void)viewer.select(item);
    return {};
}

answer list(headless_application& viewer, std::string_view)
{
    answer result;
    result.write_json = [&viewer](std::ostream& out) {
        out << ',';
        write_list_fields(out, viewer.frame().List());
        out << ",\"row\":" << row_of(viewer.frame().List()).dump();
    };
    result.write_text = [&viewer](std::ostream& out) { print_list(out, viewer.frame().List()); };
    return result;
}

answer row(headless_application& viewer, std::string_view argument)
{
    CListCtrl& shown = viewer.frame().List();
    std::size_t chosen = CListCtrl::no_row;
    if (argument != "none") {
        chosen = number_of<std::size_t>(argument);
        if (chosen >= shown.GetItemCount())
            throw refusal("no row " + std::string(argument));
    }
    viewer.frame().Guard([&] { shown.SelectRow(chosen); });
    return {};
}

answer header(headless_application& viewer, std::string_view argument)
{
    const auto column = number_of<std::size_t>(argument);
    if (column >= viewer.frame().List().GetColumnCount())
        throw refusal("no column " + std::string(argument));
    viewer.frame().Guard([&] { viewer.frame().List().ClickHeader(column); });
    return {};
}

answer command(headless_application& viewer, std::string_view argument)
{
    const bool ran = viewer.frame().RunCommand(code_of(argument));
    if (!ran && !viewer.has_unhandled())
        throw refusal("disabled");
    return {};
}

answer enabled(headless_application& viewer, std::string_view argument)
{
    const command_ui state = viewer.frame().UpdateCommand(code_of(argument));
    return {.fields = {{"enabled", optional_flag(state.enabled())}, {"checked", optional_flag(state.checked())}}};
}

answer key(headless_application& viewer, std::string_view argument)
{
    const std::uint32_t code = code_of(take_word(argument));
    const std::string_view held = trimmed(argument);
    if (!held.empty() && held != "ctrl")
        throw refusal("\"" + std::string(held) + "\" is no key that is held, only ctrl is");
    viewer.frame().KeyDown({.virtual_key = code, .control = !held.empty()});
    return {};
}

answer queue_reply(headless_application& viewer, std::string_view argument)
{
    const std::string_view name = take_word(argument);
    const auto kind = question_kind_from_name(platform::from_utf8(name));
    if (!kind)
        throw refusal("\"" + std::string(name) + "\" is no kind of question");
    if (argument == "cancel") {
        viewer.person().answer(*kind, std::nullopt);
        return {};
    }
    // A text that reads like a refusal, or begins with the sign itself, stands behind the sign.
    if (argument.starts_with('='))
        argument.remove_prefix(1);
    const bool is_path = *kind == question_kind::open || *kind == question_kind::save;
    if (!is_path && !is_utf8(argument))
        throw refusal("the text is not UTF-8");
    viewer.person().answer(*kind, is_path ? path_of(argument) : platform::from_utf8(argument));
    return {};
}

json recent_of(CMainFrame& frame)
{
    std::error_code failure;
    const std::u16string folder = platform::path_from_bytes(std::filesystem::current_path(failure).string());
    const CRecentFileList& files = frame.RecentFiles();
    json all = json::array();
    for (std::size_t index = 0; index < files.GetSize(); ++index) {
        if (files[index].IsEmpty())
            continue;
        CString display;
        if (!files.GetDisplayName(display, index, folder.c_str(), folder.size(), true))
            display.Empty();
        all.push_back({{"path", json_text(files[index].view())}, {"display", json_text(display.view())}});
    }
    return all;
}

answer state(headless_application& viewer, std::string_view)
{
    CMainFrame& frame = viewer.frame();
    scripted_frame_services& person = viewer.person();
    json fields;
    fields["title"] = json_text(frame.GetTitle());
    fields["status"] = json_text(frame.GetStatusText());
    fields["focus"] = frame.GetFocus() == &frame.Tree()   ? json("tree")
                      : frame.GetFocus() == &frame.List() ? json("list")
                                                          : json(nullptr);
    const HTREEITEM selected = frame.Tree().GetSelectedItem();
    fields["selection"] = selected ? json(index_path_of(frame.Tree(), selected)) : json(nullptr);
    fields["row"] = row_of(frame.List());
    const image_list* const images = frame.List().GetSmallImages();
    fields["list_images"] = images == &frame.SpacerImages() ? json("spacer")
                            : images == &frame.TreeImages() ? json("tree")
                                                            : json(nullptr);
    fields["clipboard"] = person.clipboard() ? json(json_text(*person.clipboard())) : json(nullptr);
    fields["messages"] = json::array();
    for (const auto& message : person.take_messages())
        fields["messages"].push_back(
            {{"text", json_text(message.text)}, {"icon", message.icon == message_icon::error ? "error" : "none"}});
    fields["opened"] = texts_of(person.take_opened());
    fields["questions"] = json::array();
    for (const auto& question : person.take_questions())
        fields["questions"].push_back({{"kind", json_text(question_kind_name(question.kind))},
                                       {"name", json_text(question.name)},
                                       {"filter", json_text(question.filter)}});
    fields["recent"] = recent_of(frame);
    return {.fields = std::move(fields)};
}

answer close(headless_application& viewer, std::string_view)
{
    viewer.frame().Close();
    return {.closed = true};
}

enum class argument_form {
    none,
    words, // blanks around it say nothing
    rest,  // to the end of the line, as it stands
};

struct session_command {
    std::string_view name;
    argument_form form;
    answer (*run)(headless_application& viewer, std::string_view argument);
};

constexpr auto commands = std::to_array<session_command>({
    {"open", argument_form::rest, open},
    {"tree", argument_form::none, tree},
    {"select", argument_form::words, select},
    {"list", argument_form::none, list},
    {"row", argument_form::words, row},
    {"header", argument_form::words, header},
    {"command", argument_form::words, command},
    {"enabled", argument_form::words, enabled},
    {"key", argument_form::words, key},
    {"answer", argument_form::rest, queue_reply},
    {"state", argument_form::none, state},
    {"close", argument_form::none, close},
});

answer run_line(headless_application& viewer, std::string_view line)
{
    if (line.find('\0') != line.npos)
        throw refusal("the line holds a zero");
    std::string_view argument = line;
    const std::string_view name = take_word(argument);
    for (const session_command& entry : commands) {
        if (entry.name != name)
            continue;
        if (entry.form != argument_form::rest)
            argument = trimmed(argument);
        if (entry.form == argument_form::none && !argument.empty())
            throw refusal("\"" + std::string(name) + "\" takes nothing");
        if (entry.form != argument_form::none && argument.empty())
            throw refusal("\"" + std::string(name) + "\" takes more");
        return entry.run(viewer, argument);
    }
    throw refusal("no command \"" + std::string(name) + "\"");
}

/// A field for people; texts that could steer a terminal lose what does.
void print_field(std::ostream& out, const std::string& name, const json& value)
{
    const std::string text = value.is_string() ? value.get<std::string>() : value.dump();
    out << name << ": " << terminal_text(platform::from_utf8(text)) << '\n';
}

void print_refusal(std::ostream& out, session::form form, std::string_view why)
{
    const std::u16string text = platform::from_utf8(why);
    if (form == session::form::json)
        out << json{{"ok", false}, {"error", json_text(text)}}.dump() << '\n';
    else
        out << "error: " << terminal_text(text) << '\n';
}

void print_answer(std::ostream& out, session::form form, const answer& given)
{
    if (form == session::form::json) {
        json fields{{"ok", true}};
        fields.update(given.fields);
        std::string text = fields.dump();
        text.pop_back();
        out << text;
        if (given.write_json)
            given.write_json(out);
        out << "}\n";
        return;
    }
    if (given.write_text)
        given.write_text(out);
    else if (given.fields.empty())
        out << "ok\n";
    for (const auto& [name, value] : given.fields.items())
        print_field(out, name, value);
}

} // namespace

void session::take(std::string_view line)
{
    const std::size_t first = line.find_first_not_of(blanks);
    if (first == line.npos || line.front() == '#')
        return;
    (void)m_viewer.take_unhandled();
    try {
        const answer given = run_line(m_viewer, line.substr(first));
        m_closed = given.closed;
        if (const auto unhandled = m_viewer.take_unhandled())
            print_refusal(m_out, m_form, "unhandled: " + platform::to_utf8(*unhandled));
        else
            print_answer(m_out, m_form, given);
    } catch (const std::exception& error) {
        print_refusal(m_out, m_form, error.what());
    }
    // Whoever drives the session waits for each answer.
    m_out.flush();
}

} // namespace cw::console
