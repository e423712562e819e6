#include "readers/mediaforge/errors.h"

#include "readers/storage/text.h"

namespace cw::mediaforge {
namespace {

/// The numbers of what is told of any file; all else is a file that is no media.
constexpr auto fault_rows = std::to_array<storage::fault_number<error_number>>({
    {storage::fault::not_found, error_number::not_found},
    {storage::fault::access_denied, error_number::access_denied},
    {storage::fault::out_of_memory, error_number::out_of_memory},
    {storage::fault::is_a_folder, error_number::is_a_folder},
    {storage::fault::not_a_file, error_number::not_a_file},
    {storage::fault::unreadable, error_number::read_failed},
    {storage::fault::contradiction, error_number::contradiction},
});

error_number error_of(storage::fault what) noexcept
{
    return storage::number_of(fault_rows, what, error_number::not_a_media);
}

} // namespace

std::u16string media_error_text(error_number number, std::u16string_view file, std::u16string_view detail)
{
    std::u16string_view format;
    for (const media_error_row& row : media_error_table)
        if (row.number == number)
            format = row.text;
    return storage::fill_error_text(format, file, detail);
}

media_failure::media_failure(error_number number, std::string_view file, std::u16string_view detail, int system_error)
    : automation_error(media_error_result(number), media_error_text(number, storage::to_utf16(file), detail)),
      m_number(number), m_systemText(storage::system_error_text(system_error))
{
}

error_number media_error_of(int system_error) noexcept
{
    return error_of(storage::fault_of(system_error));
}

void raise_fault(storage::fault what, const std::string& path, std::u16string_view detail, int system_error)
{
    if (what == storage::fault::overwritten)
        detail = u"it was overwritten while it was open";
    throw media_failure(error_of(what), path, detail, system_error);
}

void error_record::remember(const media_failure& failure)
{
    number = failure.number();
    description = failure.description();
    system_text = failure.system_text();
}

} // namespace cw::mediaforge
