// User settings that live as long as the object: for runs that must not leave anything behind, and
// for tests. The default until a program puts its own in place.
#pragma once

#include "platform/services.h"

#include <map>
#include <string>
#include <utility>

namespace cw::platform {

class memory_user_settings final : public user_settings {
public:
    int read_number(std::u16string_view section, std::u16string_view entry, int default_value) override;
    void write_number(std::u16string_view section, std::u16string_view entry, int value) override;
    std::u16string read_text(std::u16string_view section, std::u16string_view entry,
                             std::u16string_view default_value) override;
    void write_text(std::u16string_view section, std::u16string_view entry, std::u16string_view value) override;
    void remove(std::u16string_view section, std::u16string_view entry) override;

private:
    std::map<std::pair<std::u16string, std::u16string>, std::u16string> m_values;
};

/// What a number entry's text stands for: plain decimal with an optional minus sign, the whole
/// text; `default_value` for anything else. How all text-based settings read numbers.
[[nodiscard]] int number_from_setting(std::u16string_view text, int default_value) noexcept;
/// The text that stands for a number.
[[nodiscard]] std::u16string setting_from_number(int value);

} // namespace cw::platform
