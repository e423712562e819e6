#include "readers/storage/fault.h"

#include "readers/storage/text.h"

#include <cerrno>
#include <cstring>

namespace cw::storage {

fault fault_of(int system_error) noexcept
{
    switch (system_error) {
    case ENOENT:
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:
    case EINVAL:
        return fault::not_found;
    case EACCES:
    case EPERM:
        return fault::access_denied;
    case EISDIR:
        return fault::is_a_folder;
    case ENXIO:
        return fault::not_a_file;
    case ENOMEM:
        return fault::out_of_memory;
    default:
        return fault::unreadable;
    }
}

std::u16string system_error_text(int system_error)
{
    if (system_error == 0)
        return {};
    char room[256] = {};
    return to_utf16(strerror_r(system_error, room, sizeof room));
}

std::u16string fill_error_text(std::u16string_view format, std::u16string_view file, std::u16string_view detail)
{
    std::u16string text;
    for (std::size_t i = 0; i < format.size(); ++i) {
        if (format[i] != u'%' || i + 1 == format.size()) {
            text += format[i];
            continue;
        }
        text += format[++i] == u'1' ? file : detail;
    }
    return text;
}

} // namespace cw::storage
