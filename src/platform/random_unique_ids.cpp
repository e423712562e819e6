#include "platform/posix_services.h"

#include "platform/last_error.h"

#include <cerrno>
#include <cstdlib>
#include <iterator>
#include <sys/random.h>

namespace cw::platform {

namespace {

// With the terminator and, as the text form of a GUID has them, both braces.
constexpr int room_with_braces = 39;
constexpr int length_in_code_units = 36;

constexpr char16_t lowered(char16_t c) noexcept
{
    return c >= u'A' && c <= u'F' ? static_cast<char16_t>(c + (u'a' - u'A')) : c;
}

class random_unique_ids final : public unique_ids {
public:
    std::uint32_t create(GUID* id) noexcept override
    {
        // So few bytes come whole or not at all, and are not interrupted.
        if (getrandom(id, sizeof *id, 0) != ssize_t{sizeof *id})
            return error_from_errno(errno);
        // Version 4 and the variant say that all other bits are random.
        id->Data3 = static_cast<std::uint16_t>((id->Data3 & 0x0FFF) | 0x4000);
        id->Data4[0] = static_cast<std::uint8_t>((id->Data4[0] & 0x3F) | 0x80);
        return error_success;
    }

    std::uint32_t to_text(const GUID* id, char16_t** text) noexcept override
    {
        *text = static_cast<char16_t*>(std::calloc(length_in_code_units + 1, sizeof(char16_t)));
        if (!*text)
            return error_not_enough_memory;
        char16_t with_braces[room_with_braces];
        StringFromGUID2(*id, with_braces, room_with_braces);
        for (int i = 0; i < length_in_code_units; ++i)
            (*text)[i] = lowered(with_braces[i + 1]);
        return error_success;
    }

    void release(char16_t** text) noexcept override
    {
        std::free(*text);
        *text = nullptr;
    }
};

} // namespace

std::unique_ptr<unique_ids> make_random_unique_ids()
{
    return std::make_unique<random_unique_ids>();
}

} // namespace cw::platform
