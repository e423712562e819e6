#include "readers/logkit/errors.h"

#include "readers/storage/text.h"

namespace cw::logkit {
namespace {

constexpr auto fault_rows = std::to_array<storage::fault_number<error_number>>({
    {storage::fault::not_found, error_number::not_found},
    {storage::fault::access_denied, error_number::access_denied},
    {storage::fault::out_of_memory, error_number::out_of_memory},
    {storage::fault::is_a_folder, error_number::is_a_folder},
    {storage::fault::not_a_file, error_number::not_a_file},
    {storage::fault::unreadable, error_number::read_failed},
    {storage::fault::locked, error_number::locked},
    {storage::fault::unfinished, error_number::unfinished},
    {storage::fault::contradiction, error_number::contradiction},
    {storage::fault::overwritten, error_number::overwritten},
    {storage::fault::damaged, error_number::not_a_log},
});

error_number error_of(storage::fault what) noexcept
{
    return storage::number_of(fault_rows, what, error_number::read_failed);
}

std::u16string text_of(error_number number, std::u16string_view file, std::u16string_view detail)
{
    for (const log_error_row& row : log_error_table)
        if (row.number == number)
            return storage::fill_error_text(row.text, file, detail);
    return {};
}

} // namespace

log_failure::log_failure(error_number number, std::string_view file, std::u16string_view detail)
    : automation_error(log_error_result(number), text_of(number, storage::to_utf16(file), detail)), m_number(number)
{
}

void raise_fault(storage::fault what, const std::string& path, std::u16string_view detail, int system_error)
{
    std::u16string told(detail);
    if (told.empty())
        told = system_error ? storage::system_error_text(system_error) : u"the system does not say why";
    throw log_failure(error_of(what), path, told);
}

} // namespace cw::logkit
