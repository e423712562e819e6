// The numbered errors of this reader: one table of texts, and the exception that carries one from
// where it is found to the caller's error object.
#pragma once

#include "automation/dispatch_object.h"
#include "readers/storage/fault.h"

#include <array>
#include <string>
#include <string_view>

namespace cw::logkit {

enum class error_number : std::int32_t {
    not_found = 2,
    access_denied = 5,
    out_of_memory = 8,
    not_a_log = 13,
    is_a_folder = 21,
    not_a_file = 22,
    read_failed = 23,
    newer_schema = 30,
    contradiction = 31,
    locked = 33,
    unfinished = 34,
    overwritten = 35,
    no_such_item = 60,
};

struct log_error_row {
    error_number number;
    std::u16string_view text; // %1 is the file, %2 what exactly was found
};

inline constexpr auto log_error_table = std::to_array<log_error_row>({
    {error_number::not_found, u"\"%1\" cannot be found."},
    {error_number::access_denied, u"Access to \"%1\" is denied."},
    {error_number::out_of_memory, u"There is not enough memory to open \"%1\"."},
    {error_number::not_a_log, u"\"%1\" is not an installation log, or it is damaged: %2."},
    {error_number::is_a_folder, u"\"%1\" is a folder, not an installation log."},
    {error_number::not_a_file, u"\"%1\" is a device or a pipe, not an installation log."},
    {error_number::read_failed, u"\"%1\" cannot be read: %2."},
    {error_number::newer_schema, u"\"%1\" was written by a newer program: %2."},
    {error_number::contradiction, u"The entries of \"%1\" contradict each other: %2."},
    {error_number::locked, u"\"%1\" is locked by another program."},
    {error_number::unfinished, u"A recording in \"%1\" was broken off, and what it left cannot be put in order: %2."},
    {error_number::overwritten, u"\"%1\" was overwritten while it was open."},
    {error_number::no_such_item, u"\"%1\" has no %2."},
});

/// The result code of an operation that fails with a numbered error.
constexpr HRESULT log_error_result(error_number number) noexcept
{
    return make_hresult(0x80040200u + static_cast<std::uint32_t>(number));
}

/// Thrown wherever reading a log fails; the wall around operations turns it into a result code and
/// an error object.
class log_failure : public automation::automation_error {
public:
    /// `file` is named in the text.
    log_failure(error_number number, std::string_view file, std::u16string_view detail = {});
    [[nodiscard]] error_number number() const noexcept { return m_number; }

private:
    error_number m_number;
};

/// Throws the failure for what is wrong with a log's file; `system_error` is an errno or 0.
[[noreturn]] void raise_fault(storage::fault what, const std::string& path, std::u16string_view detail,
                              int system_error);

} // namespace cw::logkit
