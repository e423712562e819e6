#include "platform/posix_services.h"

#include "platform/system_message_table.h"

#include <algorithm>
#include <cstdlib>

namespace cw::platform {

namespace {

const system_message_row* find_row(std::uint32_t code) noexcept
{
    const auto row = std::ranges::lower_bound(system_message_rows, code, {}, &system_message_row::code);
    return row != system_message_rows.end() && row->code == code ? &*row : nullptr;
}

class posix_system_messages final : public system_messages {
public:
    char16_t* format_message(std::uint32_t code) noexcept override
    {
        const system_message_row* row = find_row(code);
        if (!row && (code & 0xFFFF0000) == 0x80070000)
            row = find_row(code & 0xFFFF);
        if (!row)
            return nullptr;
        // System texts end in a line end; those who show one on a single line cut it off.
        static constexpr std::u16string_view line_end = u"\r\n";
        const std::size_t length = row->text.size() + line_end.size();
        auto* text = static_cast<char16_t*>(std::malloc((length + 1) * sizeof(char16_t)));
        if (!text)
            return nullptr;
        row->text.copy(text, row->text.size());
        line_end.copy(text + row->text.size(), line_end.size());
        text[length] = 0;
        return text;
    }

    void release(char16_t* text) noexcept override { std::free(text); }
};

} // namespace

std::unique_ptr<system_messages> make_posix_system_messages()
{
    return std::make_unique<posix_system_messages>();
}

} // namespace cw::platform
