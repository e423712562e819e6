#include "platform/posix_services.h"

#include <unicode/uchar.h>
#include <unicode/ucol.h>

namespace cw::platform {

namespace {

/// A mapping that leaves the code unit's range does not exist for a code unit by itself.
char16_t mapped(char16_t code_unit, UChar32 (*mapping)(UChar32)) noexcept
{
    const UChar32 result = mapping(code_unit);
    return result > 0xFFFF ? code_unit : static_cast<char16_t>(result);
}

class icu_text_rules final : public text_rules {
public:
    explicit icu_text_rules(const std::string& locale)
    {
        UErrorCode failure = U_ZERO_ERROR;
        m_collator = ucol_open(locale.c_str(), &failure);
        // Secondary strength keeps accents apart and lets case go.
        if (m_collator)
            ucol_setStrength(m_collator, UCOL_SECONDARY);
    }
    ~icu_text_rules() override { ucol_close(m_collator); }

    char16_t to_upper(char16_t code_unit) noexcept override { return mapped(code_unit, u_toupper); }
    char16_t to_lower(char16_t code_unit) noexcept override { return mapped(code_unit, u_tolower); }

    int compare_no_case(const char16_t* a, const char16_t* b, std::size_t count) noexcept override
    {
        for (std::size_t i = 0; i < count; ++i) {
            const int difference = to_lower(a[i]) - to_lower(b[i]);
            if (difference != 0 || a[i] == 0)
                return difference;
        }
        return 0;
    }

    std::string sort_key(std::u16string_view text) override
    {
        const auto length = static_cast<std::int32_t>(text.size());
        std::string key(text.size() * 4 + 16, '\0');
        auto ask = [&] {
            return ucol_getSortKey(m_collator, text.data(), length, reinterpret_cast<std::uint8_t*>(key.data()),
                                   static_cast<std::int32_t>(key.size()));
        };
        std::int32_t size_in_bytes = ask();
        if (static_cast<std::size_t>(size_in_bytes) > key.size()) {
            key.resize(static_cast<std::size_t>(size_in_bytes));
            size_in_bytes = ask();
        }
        // The key's own terminator takes no part in the order.
        key.resize(size_in_bytes > 0 ? static_cast<std::size_t>(size_in_bytes) - 1 : 0);
        return key;
    }

private:
    UCollator* m_collator = nullptr;
};

} // namespace

std::unique_ptr<text_rules> make_icu_text_rules(const std::string& locale)
{
    return std::make_unique<icu_text_rules>(locale);
}

} // namespace cw::platform
