// Answers to the logic's questions from queues, and a record of everything that it asked and handed
// out. The companion's sessions and the tests stand in for the person with it.
#pragma once

#include "framework/frame_services.h"

#include <array>
#include <deque>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace cw {

enum class question_kind { open, save, find, password };

/// "open", "save", "find", "password".
[[nodiscard]] std::u16string_view question_kind_name(question_kind kind) noexcept;
[[nodiscard]] std::optional<question_kind> question_kind_from_name(std::u16string_view name) noexcept;

class scripted_frame_services final : public frame_services {
public:
    struct asked_question {
        question_kind kind;
        std::u16string name;   // proposed file name
        std::u16string filter; // as the logic gave it
        std::u16string default_extension;
        bool overwrite_prompt = false;
        std::u16string text;    // find: the initial text; password: the path
        std::u16string refusal; // password: why the last one was refused
    };
    struct shown_message {
        std::u16string text;
        message_icon icon;
        friend bool operator==(const shown_message&, const shown_message&) = default;
    };

    /// Queues a reply for the next question of a kind that has none waiting; an empty one cancels. A
    /// question without a queued reply is cancelled. The reply to `save` is a path.
    void answer(question_kind kind, std::optional<std::u16string> reply);

    // What came since the last `take_…`; taking empties the record.
    [[nodiscard]] std::vector<asked_question> take_questions() { return std::exchange(m_questions, {}); }
    [[nodiscard]] std::vector<shown_message> take_messages() { return std::exchange(m_messages, {}); }
    [[nodiscard]] std::vector<std::u16string> take_opened() { return std::exchange(m_opened, {}); }
    [[nodiscard]] std::vector<std::u16string> take_help_topics() { return std::exchange(m_helpTopics, {}); }
    /// The command numbers of each context menu that was shown.
    [[nodiscard]] std::vector<std::vector<std::uint32_t>> take_menus() { return std::exchange(m_menus, {}); }
    [[nodiscard]] int about_count() const noexcept { return m_aboutCount; }
    /// The text on the clipboard; none before the first.
    [[nodiscard]] const std::optional<std::u16string>& clipboard() const noexcept { return m_clipboard; }

    std::optional<std::u16string> choose_file_to_open(const open_question& question) override;
    std::optional<save_answer> choose_file_to_save(const save_question& question) override;
    std::optional<std::u16string> ask_password(const password_question& question) override;
    std::optional<std::u16string> ask_find_text(const find_question& question) override;
    void show_message(std::u16string_view text, message_icon icon) override;
    void show_about() override { ++m_aboutCount; }
    void show_context_menu(std::span<const menu_item> items) override;
    void put_on_clipboard(std::u16string_view text) override { m_clipboard = text; }
    void open_with_desktop(std::u16string_view path) override { m_opened.emplace_back(path); }
    void show_help(std::u16string_view topic_path) override { m_helpTopics.emplace_back(topic_path); }

private:
    static constexpr std::size_t kind_count = 4;
    std::optional<std::u16string> reply_to(asked_question question);

    std::array<std::deque<std::optional<std::u16string>>, kind_count> m_replies;
    std::vector<asked_question> m_questions;
    std::vector<shown_message> m_messages;
    std::vector<std::u16string> m_opened;
    std::vector<std::u16string> m_helpTopics;
    std::vector<std::vector<std::uint32_t>> m_menus;
    int m_aboutCount = 0;
    std::optional<std::u16string> m_clipboard;
};

/// Folder (a root keeps its separator) and file name of a path that a person chose.
[[nodiscard]] save_answer save_answer_from_path(std::u16string_view path);

} // namespace cw
