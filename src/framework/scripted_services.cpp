#include "framework/scripted_services.h"

#include "framework/commands.h"
#include "platform/path_style.h"

#include <algorithm>
#include <utility>

namespace cw {
namespace {

// By the order of `question_kind`.
constexpr auto kind_names = std::to_array<std::u16string_view>({u"open", u"save", u"find", u"password"});

std::size_t place_of(question_kind kind) noexcept
{
    return static_cast<std::size_t>(kind);
}

} // namespace

std::u16string_view question_kind_name(question_kind kind) noexcept
{
    return kind_names[place_of(kind)];
}

std::optional<question_kind> question_kind_from_name(std::u16string_view name) noexcept
{
    const auto found = std::ranges::find(kind_names, name);
    if (found == kind_names.end())
        return {};
    return static_cast<question_kind>(found - kind_names.begin());
}

void scripted_frame_services::answer(question_kind kind, std::optional<std::u16string> reply)
{
    m_replies[place_of(kind)].push_back(std::move(reply));
}

std::optional<std::u16string> scripted_frame_services::reply_to(asked_question question)
{
    auto& waiting = m_replies[place_of(question.kind)];
    m_questions.push_back(std::move(question));
    if (waiting.empty())
        return {};
    std::optional<std::u16string> reply = std::move(waiting.front());
    waiting.pop_front();
    return reply;
}

std::optional<std::u16string> scripted_frame_services::choose_file_to_open(const open_question& question)
{
    asked_question asked{};
    asked.kind = question_kind::open;
    asked.filter = question.filter;
    return reply_to(std::move(asked));
}

std::optional<save_answer> scripted_frame_services::choose_file_to_save(const save_question& question)
{
    asked_question asked{};
    asked.kind = question_kind::save;
    asked.name = question.proposed_name;
    asked.filter = question.filter;
    asked.default_extension = question.default_extension;
    asked.overwrite_prompt = question.overwrite_prompt;
    const auto reply = reply_to(std::move(asked));
    if (!reply)
        return {};
    return save_answer_from_path(*reply);
}

std::optional<std::u16string> scripted_frame_services::ask_password(const password_question& question)
{
    asked_question asked{};
    asked.kind = question_kind::password;
    asked.text = question.path;
    asked.refusal = question.refusal;
    return reply_to(std::move(asked));
}

std::optional<std::u16string> scripted_frame_services::ask_find_text(const find_question& question)
{
    asked_question asked{};
    asked.kind = question_kind::find;
    asked.text = question.initial_text;
    return reply_to(std::move(asked));
}

void scripted_frame_services::show_message(std::u16string_view text, message_icon icon)
{
    m_messages.push_back({std::u16string(text), icon});
}

void scripted_frame_services::show_context_menu(std::span<const menu_item> items)
{
    std::vector<std::uint32_t> ids;
    for (const menu_item& item : items)
        ids.push_back(item.id);
    m_menus.push_back(std::move(ids));
}

save_answer save_answer_from_path(std::u16string_view path)
{
    const std::size_t last = path.rfind(path_separator_of(path));
    if (last == std::u16string_view::npos)
        return {u"", std::u16string(path), std::u16string(path)};
    const bool is_root = last == 0 || path[last - 1] == u':';
    return {std::u16string(path.substr(0, is_root ? last + 1 : last)), std::u16string(path.substr(last + 1)),
            std::u16string(path)};
}

} // namespace cw
