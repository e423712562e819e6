// The questions that the logic asks a person, and what it hands to the desktop. Window, companion
// and tests each answer in their own way.
#pragma once

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace cw {

struct menu_item;

enum class message_icon { none, error };

struct open_question {
    std::u16string_view filter; // "Label|*.a; *.b|Label|*.c||"
};

struct save_question {
    std::u16string_view proposed_name;
    std::u16string_view default_extension;
    std::u16string_view filter;
    bool overwrite_prompt = false;
};

struct save_answer {
    std::u16string folder;
    std::u16string file_name;
    std::u16string path; // both joined
};

struct password_question {
    std::u16string_view path;
    /// Empty at the first showing; afterwards why the last password was refused.
    std::u16string_view refusal;
};

struct find_question {
    std::u16string_view initial_text;
};

class frame_services {
public:
    virtual ~frame_services() = default;

    // An empty answer is the person's refusal.
    virtual std::optional<std::u16string> choose_file_to_open(const open_question& question) = 0;
    virtual std::optional<save_answer> choose_file_to_save(const save_question& question) = 0;
    virtual std::optional<std::u16string> ask_password(const password_question& question) = 0;
    virtual std::optional<std::u16string> ask_find_text(const find_question& question) = 0;

    virtual void show_message(std::u16string_view text, message_icon icon) = 0;
    virtual void show_about() = 0;
    /// Shows a menu at the pointer; a chosen command arrives at the frame like any other.
    virtual void show_context_menu(std::span<const menu_item> items) = 0;
    virtual void put_on_clipboard(std::u16string_view text) = 0;
    /// Hands a file to the desktop's program for it, without waiting.
    virtual void open_with_desktop(std::u16string_view path) = 0;
    virtual void show_help(std::u16string_view topic_path) = 0;
};

} // namespace cw
