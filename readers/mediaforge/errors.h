// The numbered errors of this reader: one table of texts, and the exception that carries one from
// where it is found to the caller's error object and to the factory's `LastError`.
#pragma once

#include "automation/dispatch_object.h"
#include "readers/storage/fault.h"

#include <array>
#include <string>
#include <string_view>

namespace cw::mediaforge {

enum class error_number : std::int32_t {
    none = 0,
    not_found = 2,
    access_denied = 5,
    out_of_memory = 8,
    not_a_media = 13,
    is_a_folder = 21,
    not_a_file = 22,
    read_failed = 23,
    newer_schema = 30,
    contradiction = 31,
    damaged_seal = 32,
    volume_missing = 40,
    volume_foreign = 41,
    volume_damaged = 42,
    continuation_missing = 43,
    content_differs = 44,
    no_content = 45,
    target_refused = 50,
    password_required = 142,
};

struct media_error_row {
    error_number number;
    std::u16string_view text; // %1 is the file, %2 what exactly was found
};

inline constexpr auto media_error_table = std::to_array<media_error_row>({
    {error_number::none, u""},
    {error_number::not_found, u"\"%1\" cannot be found."},
    {error_number::access_denied, u"Access to \"%1\" is denied."},
    {error_number::out_of_memory, u"There is not enough memory to open \"%1\"."},
    {error_number::not_a_media, u"\"%1\" is not a setup media, or it is damaged: %2."},
    {error_number::is_a_folder, u"\"%1\" is a folder, not a setup media."},
    {error_number::not_a_file, u"\"%1\" is a device or a pipe, not a setup media."},
    {error_number::read_failed, u"\"%1\" cannot be read."},
    {error_number::newer_schema, u"\"%1\" was written by a newer program: %2."},
    {error_number::contradiction, u"The entries of \"%1\" contradict each other: %2."},
    {error_number::damaged_seal, u"\"%1\" is protected, and its protection is damaged: %2."},
    {error_number::volume_missing, u"The volume \"%1\" is missing: %2."},
    {error_number::volume_foreign, u"The volume \"%1\" does not belong to this media: %2."},
    {error_number::volume_damaged, u"The volume \"%1\" is damaged: %2."},
    {error_number::continuation_missing, u"A neighbour of the cabinet \"%1\" is needed: %2."},
    {error_number::content_differs, u"The content of \"%1\" is not what the media says: %2."},
    {error_number::no_content, u"\"%1\" has no content in this media."},
    {error_number::target_refused, u"\"%1\" cannot be written: %2."},
    {error_number::password_required, u"Password required: \"%1\" opens only with its password."},
});

/// The text of an error with the file's name and the detail filled in.
[[nodiscard]] std::u16string media_error_text(error_number number, std::u16string_view file,
                                              std::u16string_view detail = {});

/// The result code of a member that fails with a numbered error.
constexpr HRESULT media_error_result(error_number number) noexcept
{
    return make_hresult(0x80040200u + static_cast<std::uint32_t>(number));
}

/// Thrown wherever reading a media fails; the wall around members turns it into a result code and
/// an error object.
class media_failure : public automation::automation_error {
public:
    /// `file` is named in the text; `system_error` is an errno or 0.
    media_failure(error_number number, std::string_view file, std::u16string_view detail = {}, int system_error = 0);
    [[nodiscard]] error_number number() const noexcept { return m_number; }
    /// What the system said, empty where it had no part in it.
    [[nodiscard]] const std::u16string& system_text() const noexcept { return m_systemText; }

private:
    error_number m_number;
    std::u16string m_systemText;
};

/// The error for a path that a system call refused with `system_error`.
[[nodiscard]] error_number media_error_of(int system_error) noexcept;
/// Throws the failure for what is wrong with a header's file.
[[noreturn]] void raise_fault(storage::fault what, const std::string& path, std::u16string_view detail,
                              int system_error);

/// What `LastError` answers: shared by a factory and the media that it opened.
struct error_record {
    error_number number = error_number::none;
    std::u16string description;
    std::u16string system_text;
    void remember(const media_failure& failure);
};

} // namespace cw::mediaforge
