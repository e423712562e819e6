#include "fileio/text_file.h"

#include "fileio/file.h"
#include "fileio/file_operations.h"
#include "fileio/write_bytes.h"
#include "foundation/exceptions.h"
#include "platform/last_error.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace cw {

namespace {

bool is_utf16(std::uint32_t code_page)
{
    return code_page == code_page_utf16_little_endian || code_page == code_page_utf16_big_endian;
}

/// The mark of a code page; null where the page has none.
const byte_order_mark* mark_of(std::uint32_t code_page)
{
    const auto found = std::ranges::find(byte_order_marks, code_page, &byte_order_mark::code_page);
    return found == std::end(byte_order_marks) ? nullptr : found;
}

void write(const file& target, std::string_view bytes)
{
    if (!write_bytes(target.handle, bytes))
        throw file_exception(target.path);
}

/// The text without its terminator; a single zero byte for a page that the system does not know. Throws
/// where the text is more than the system converts at once.
std::string converted(const string& text, std::uint32_t code_page, const string& path)
{
    const std::size_t size_in_bytes = text.to_bytes(nullptr, 0, code_page);
    std::string bytes(std::max<std::size_t>(size_in_bytes, 1), '\0');
    const std::size_t terminator = is_utf16(code_page) ? 2 : 1;
    const std::size_t count = text.to_bytes(bytes.data(), size_in_bytes, code_page);
    // A conversion that fails counts nothing, not even the terminator.
    const bool is_done = count >= terminator;
    if (!is_done && platform::get_last_error() != platform::error_invalid_parameter)
        throw file_exception(path);
    bytes.resize(is_done ? count - terminator : 1);
    return bytes;
}

} // namespace

std::uint32_t write_text_file(string path, string text, std::uint32_t code_page, bool write_mark)
{
    create_folders_of(path);

    file target;
    if (const std::uint32_t error = target.open(path, platform::generic_write, platform::file_share_read,
                                                platform::file_attribute_normal, platform::create_always, nullptr, 0)) {
        target.close();
        return error;
    }

    const bool keeps_page = target.has_mark && mark_of(target.code_page);
    if (code_page != code_page_of_file && !keeps_page)
        target.code_page = code_page;

    const byte_order_mark* const mark = mark_of(target.code_page);
    target.has_mark = write_mark;
    if (write_mark && mark)
        write(target, mark->bytes);
    write(target, converted(text, target.code_page, target.path));
    target.close();
    return platform::error_success;
}

} // namespace cw
