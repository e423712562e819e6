#include "console/report_files.h"

#include "console/safe_text.h"
#include "platform/utf8.h"

#include <cerrno>
#include <fcntl.h>
#include <ostream>

namespace cw::console {
namespace {

/// Whether the character at an index is half of a line end; the other half stands beside it.
bool ends_line(std::u16string_view text, std::size_t index) noexcept
{
    return (text[index] == u'\r' && index + 1 < text.size() && text[index + 1] == u'\n') ||
           (text[index] == u'\n' && index > 0 && text[index - 1] == u'\r');
}

} // namespace

std::u16string watched_files::text_of(std::uint32_t error)
{
    platform::system_messages& messages = *platform::current().messages;
    char16_t* const told = messages.format_message(error);
    if (!told)
        return u"error " + platform::from_utf8(std::to_string(error));
    std::u16string text(told);
    messages.release(told);
    const std::size_t last = text.find_last_not_of(u"\r\n .");
    text.erase(last == text.npos ? 0 : last + 1);
    return text;
}

bool watched_files::noted(bool worked) noexcept
{
    if (!worked && m_firstError == platform::error_success)
        m_firstError = platform::get_last_error();
    return worked;
}

platform::file_handle watched_files::create_file(const char16_t* path, std::uint32_t access, std::uint32_t share_mode,
                                                 const void* security, std::uint32_t disposition, std::uint32_t flags,
                                                 platform::file_handle file_template) noexcept
{
    const platform::file_handle file =
        m_files.create_file(path, access, share_mode, security, disposition, flags, file_template);
    noted(file != platform::invalid_file_handle);
    return file;
}

bool watched_files::read(platform::file_handle file, void* buffer, std::uint32_t size_in_bytes,
                         std::uint32_t* read_in_bytes) noexcept
{
    return noted(m_files.read(file, buffer, size_in_bytes, read_in_bytes));
}

bool watched_files::write(platform::file_handle file, const void* bytes, std::uint32_t size_in_bytes,
                          std::uint32_t* written_in_bytes) noexcept
{
    return noted(m_files.write(file, bytes, size_in_bytes, written_in_bytes));
}

std::uint32_t watched_files::seek(platform::file_handle file, std::int32_t distance, std::int32_t* distance_high,
                                  std::uint32_t method) noexcept
{
    return m_files.seek(file, distance, distance_high, method);
}

std::uint32_t watched_files::size(platform::file_handle file, std::uint32_t* size_high) noexcept
{
    return m_files.size(file, size_high);
}

bool watched_files::close(platform::file_handle file) noexcept
{
    return noted(m_files.close(file));
}

platform::file_handle files_to_descriptor::create_file(const char16_t*, std::uint32_t, std::uint32_t, const void*,
                                                       std::uint32_t, std::uint32_t, platform::file_handle) noexcept
{
    const int copy = ::fcntl(m_descriptor, F_DUPFD_CLOEXEC, 0);
    if (copy < 0)
        platform::set_last_error_from_errno(errno);
    return noted(copy >= 0) ? copy : platform::invalid_file_handle;
}

bool files_to_stream::write(platform::file_handle, const void* bytes, std::uint32_t size_in_bytes,
                            std::uint32_t* written_in_bytes) noexcept
try {
    const std::u16string_view text(static_cast<const char16_t*>(bytes), size_in_bytes / sizeof(char16_t));
    m_out << report_bytes(text, m_isTerminal);
    *written_in_bytes = m_out ? size_in_bytes : 0;
    return static_cast<bool>(m_out);
} catch (...) {
    // No memory: whoever looks at the stream afterwards sees it.
    m_out.setstate(std::ios::badbit);
    *written_in_bytes = 0;
    return false;
}

std::string report_bytes(std::u16string_view text, bool is_terminal)
{
    if (!is_terminal)
        return platform::to_utf8(text);
    std::u16string safe(text);
    for (std::size_t i = 0; i < safe.size(); ++i)
        if (steers_terminal(text[i]) && !ends_line(text, i))
            safe[i] = u'\uFFFD';
    return platform::to_utf8(safe);
}

} // namespace cw::console
