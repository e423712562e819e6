#include "readers/mediaforge/errors.h"

#include "readers/mediaforge/text.h"

#include <cstring>

namespace cw::mediaforge {

std::u16string media_error_text(error_number number, std::u16string_view file, std::u16string_view detail)
{
    std::u16string_view format;
    for (const media_error_row& row : media_error_table)
        if (row.number == number)
            format = row.text;
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

media_failure::media_failure(error_number number, std::string_view file, std::u16string_view detail, int system_error)
    : automation_error(media_error_result(number), media_error_text(number, to_utf16(file), detail)), m_number(number),
      m_systemText(system_error_text(system_error))
{
}

std::u16string system_error_text(int system_error)
{
    if (system_error == 0)
        return {};
    char room[256] = {};
    return to_utf16(strerror_r(system_error, room, sizeof room));
}

error_number media_error_of(int system_error) noexcept
{
    switch (system_error) {
    case ENOENT:
    case ENOTDIR:
    case ENAMETOOLONG:
    case ELOOP:
    case EINVAL:
        return error_number::not_found;
    case EACCES:
    case EPERM:
        return error_number::access_denied;
    case EISDIR:
        return error_number::is_a_folder;
    case ENXIO:
        return error_number::not_a_file;
    case ENOMEM:
        return error_number::out_of_memory;
    default:
        return error_number::read_failed;
    }
}

void error_record::remember(const media_failure& failure)
{
    number = failure.number();
    description = failure.description();
    system_text = failure.system_text();
}

} // namespace cw::mediaforge
