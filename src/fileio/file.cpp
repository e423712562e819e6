#include "fileio/file.h"

#include "fileio/entry_points.h"
#include "fileio/http_file.h"
#include "foundation/exceptions.h"
#include "platform/last_error.h"

#include <algorithm>
#include <array>
#include <exception>
#include <string_view>
#include <utility>

namespace cw {

namespace {

constexpr std::u16string_view network_schemes[] = {u"http://", u"https://"};

constexpr std::uint32_t network_timeout_ms = 30000;
// Always from the server, past every cache, over a connection that stays.
constexpr std::uint32_t network_open_flags =
    platform::transfer_reload | platform::transfer_keep_connection | platform::transfer_pragma_no_cache;

bool is_network_path(const string& path)
{
    auto& rules = *platform::current().rules;
    return std::ranges::any_of(network_schemes, [&](std::u16string_view scheme) {
        return rules.compare_no_case(path.c_str(), scheme.data(), scheme.size()) == 0;
    });
}

bool has_at_least(file& opened, std::uint32_t size_in_bytes)
{
    std::uint32_t high = 0;
    const std::uint32_t low = opened.size(&high);
    return high != 0 || low >= size_in_bytes;
}

/// The first bytes; zeros in the place of those that cannot be read. No mark holds a zero.
std::array<char, 3> first_bytes(file& opened, std::uint32_t size_in_bytes)
{
    std::array<char, 3> bytes{};
    // A file that cannot be read is no less open: it may have been opened for writing alone.
    try {
        opened.seek(0, platform::seek_begin, nullptr);
        opened.read(bytes.data(), size_in_bytes);
    } catch (...) {
        return {};
    }
    return bytes;
}

/// The code page that a mark of `size_in_bytes` at the start tells; 0 where there is none.
std::uint32_t code_page_of_mark(file& opened, std::uint32_t size_in_bytes)
{
    if (!has_at_least(opened, size_in_bytes))
        return 0;
    const std::array<char, 3> bytes = first_bytes(opened, size_in_bytes);
    const auto found =
        std::ranges::find(byte_order_marks, std::string_view(bytes.data(), size_in_bytes), &byte_order_mark::bytes);
    return found == std::end(byte_order_marks) ? 0 : found->code_page;
}

} // namespace

file::file() : shared_count(new std::atomic<std::uint32_t>(1)) {}

file::file(const file& other)
    : network_file(other.network_file), handle(other.handle), path(other.path), shared_count(other.shared_count),
      error_handler(other.error_handler), code_page(other.code_page), has_mark(other.has_mark)
{
    if (shared_count)
        shared_count->fetch_add(1);
}

file::~file() noexcept(false)
{
    try {
        close();
    } catch (...) {
        // A second exception during unwinding would end the program; the first one is the one to tell.
        if (std::uncaught_exceptions() == 0)
            throw;
    }
}

std::uint32_t file::open(const string& file_path, std::uint32_t access, std::uint32_t share_mode, std::uint32_t flags,
                         std::uint32_t disposition, const void* security, platform::file_handle file_template)
{
    close();
    shared_count = new std::atomic<std::uint32_t>(1);
    path = file_path;
    code_page = 0;
    has_mark = false;

    if (is_network_path(path)) {
        network_file = new http_file(string(u"toys::file"), network_timeout_ms, platform::access_as_configured, nullptr,
                                     nullptr, 0);
        network_file->error_handler = error_handler;
        return network_file->open(path, string(), network_open_flags) ? platform::error_success
                                                                      : platform::get_last_error();
    }

    handle = entry_points::create_file(path, access, share_mode, security, disposition, flags, file_template);
    if (handle == platform::invalid_file_handle)
        return platform::get_last_error();
    detect_text_encoding();
    return platform::error_success;
}

void file::close()
{
    // Emptied first: where the system cannot close the file, this object is closed nevertheless, and
    // its destructor gives nothing up twice.
    http_file* const closing_network_file = std::exchange(network_file, nullptr);
    const platform::file_handle closing_handle = std::exchange(handle, platform::invalid_file_handle);
    std::atomic<std::uint32_t>* const count = std::exchange(shared_count, nullptr);
    if (!count || count->fetch_sub(1) != 1)
        return;
    delete count;
    if (closing_network_file) {
        closing_network_file->close_all();
        closing_network_file->leave_shared_session();
        closing_network_file->release();
    }
    if (closing_handle != platform::invalid_file_handle && !platform::current().open->close(closing_handle))
        throw file_exception(path);
}

std::uint32_t file::seek(std::int32_t distance, std::uint32_t method, std::int32_t* distance_high)
{
    if (network_file) {
        const std::uint32_t position = network_file->seek(distance, method);
        if (position == platform::invalid_file_position)
            throw internet_file_exception(path);
        return position;
    }
    const std::uint32_t position = platform::current().open->seek(handle, distance, distance_high, method);
    if (position != platform::invalid_file_position)
        return position;
    if (!distance_high)
        throw file_exception(path);
    check_true_position();
    return position;
}

std::uint32_t file::size(std::uint32_t* size_high)
{
    if (network_file) {
        if (size_high)
            *size_high = 0;
        const std::uint32_t low = network_file->size();
        if (low == platform::invalid_file_position)
            throw internet_file_exception(path);
        return low;
    }
    const std::uint32_t low = platform::current().open->size(handle, size_high);
    if (low == platform::invalid_file_position)
        check_true_position();
    return low;
}

std::uint32_t file::read(void* buffer, std::uint32_t size_in_bytes)
{
    if (size_in_bytes == 0xFFFFFFFF)
        size_in_bytes = 1;
    std::uint32_t read_in_bytes = 0;
    if (network_file) {
        if (!network_file->read(buffer, size_in_bytes, &read_in_bytes))
            throw internet_file_exception(path);
    } else if (!platform::current().open->read(handle, buffer, size_in_bytes, &read_in_bytes)) {
        throw file_exception(path);
    }
    return read_in_bytes;
}

void file::detect_text_encoding()
{
    std::uint32_t found = code_page_of_mark(*this, 2);
    if (found == 0)
        found = code_page_of_mark(*this, 3);
    code_page = found;
    has_mark = found != 0;
    seek(0, platform::seek_begin, nullptr);
}

void file::check_true_position() const
{
    if (const std::uint32_t code = platform::get_last_error(); code != platform::error_success)
        throw file_exception(path, code);
}

} // namespace cw
