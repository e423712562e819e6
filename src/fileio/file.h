// One object for a file on this machine and for one behind an HTTP address: the path decides which.
#pragma once

#include "fileio/byte_order_marks.h"
#include "foundation/string.h"
#include "platform/services.h"

#include <atomic>
#include <cstdint>

namespace cw {

class http_file;
struct transfer_error_handler;

/// Stands for "the page that the file has already".
inline constexpr std::uint32_t code_page_of_file = 0xFFFFFFFF;

class file {
public:
    file();
    /// Copies share the open file; the last one closes it.
    file(const file& other);
    file& operator=(const file&) = delete;
    /// Closes, and so can throw; not where another exception is on its way already.
    virtual ~file() noexcept(false);

    /// Closes what is open and opens `file_path`, for which the arguments are those of
    /// `platform::open_files::create_file`; an address is opened for reading whatever they say. 0, or
    /// the last error. Throws what `close` and `detect_text_encoding` throw.
    std::uint32_t open(const string& file_path, std::uint32_t access, std::uint32_t share_mode, std::uint32_t flags,
                       std::uint32_t disposition, const void* security, platform::file_handle file_template);
    /// Safe at any time, and closed even where it throws. The errors of a local file are
    /// `file_exception`s, here and below; those of an address `internet_file_exception`s.
    void close();
    /// Moves the position; `method` is one of `platform::seek_begin` and the like. The new position, its
    /// high half in `*distance_high` where that is given and the file is a local one.
    std::uint32_t seek(std::int32_t distance, std::uint32_t method, std::int32_t* distance_high);
    /// In bytes, the high half in `*size_high` where that is given.
    [[nodiscard]] std::uint32_t size(std::uint32_t* size_high);
    /// The number of bytes read, 0 at the end of the file. A count of 0xFFFFFFFF is taken as 1.
    std::uint32_t read(void* buffer, std::uint32_t size_in_bytes);
    /// Tells the encoding by the first bytes and goes to the start, in front of the mark. Bytes that
    /// cannot be read count as no mark.
    void detect_text_encoding();

    http_file* network_file = nullptr; // null for a local file
    platform::file_handle handle = platform::invalid_file_handle;
    string path;                                     // given to `open`; names the file in every exception
    std::atomic<std::uint32_t>* shared_count;        // null after `close`
    transfer_error_handler* error_handler = nullptr; // handed to a network file; not owned
    std::uint32_t code_page = 0;                     // 0 where no mark was seen
    bool has_mark = false;

private:
    /// Throws unless the last error says that a position or size only looks like a failure.
    void check_true_position() const;
};

} // namespace cw
