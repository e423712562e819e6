// A scripted file system and the files of it while they are open.
#pragma once

#include "platform/last_error.h"
#include "platform/services.h"

#include "tests/support/call_log.h"

#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <string_view>

namespace cw::test_support {

/// Lines: `GetFileAttributesW <path>`, `GetCurrentDirectoryW`, `SetCurrentDirectoryW <path>`,
/// `DeleteFileW <path>`, `CreateDirectoryW <path>`, `FindFirstFileW <path>`, `FindClose`, `GetTempPathW`,
/// `GetTempFileNameW <folder> <prefix> <number>`.
struct scripted_file_system final : platform::file_system {
    explicit scripted_file_system(call_log& log) noexcept : m_log(log) {}
    std::set<std::u16string> files;
    /// What is in the files that are not empty.
    std::map<std::u16string, std::string> contents;
    /// By the exact text; a folder that is made comes in as it was named.
    std::set<std::u16string> folders;
    /// Any text but the empty one can become the current directory.
    std::u16string directory = u"C:\\start";
    std::uint32_t missing_error = platform::error_file_not_found;
    std::u16string temp = u"C:\\Temp\\";
    /// The next one that `temp_file_name` chooses, unless that name is taken.
    std::uint32_t temp_number = 0xA1B2;

    void add_file(std::u16string_view path, std::string_view bytes);
    [[nodiscard]] std::size_t open_searches() const noexcept { return m_searches.size(); }

    std::uint32_t attributes(const char16_t* path) noexcept override;
    std::uint32_t current_directory(char16_t* target, std::uint32_t room) noexcept override;
    bool set_current_directory(const char16_t* path) noexcept override;
    bool delete_file(const char16_t* path) noexcept override;
    bool create_folder(const char16_t* path) noexcept override;
    platform::file_handle find_first_file(const char16_t* path, platform::find_data* found) noexcept override;
    bool find_close(platform::file_handle search) noexcept override;
    std::uint32_t temp_folder(char16_t* target, std::uint32_t room) noexcept override;
    std::uint32_t temp_file_name(const char16_t* folder, const char16_t* prefix, std::uint32_t unique,
                                 char16_t* target) noexcept override;

private:
    [[nodiscard]] std::uint32_t attributes_of(std::u16string_view path) const;

    call_log& m_log;
    std::set<platform::file_handle> m_searches;
    platform::file_handle m_nextSearch = 1;
};

/// The files of a scripted file system, opened. Lines: `CreateFileW <path> 0x40000000 0x00000001 2
/// 0x00000080` (access, share mode, disposition, flags), `ReadFile <count>`, `WriteFile <count>`,
/// `SetFilePointer <distance> <high half, or null> <method>`, `GetFileSize`, `CloseHandle`. A
/// `SetFilePointer` or `GetFileSize` told to fail with 0 answers 0xFFFFFFFF all the same; a
/// `CloseHandle` told to fail leaves the file closed.
struct scripted_open_files final : platform::open_files {
    scripted_open_files(call_log& log, scripted_file_system& files) noexcept : m_log(log), m_files(files) {}
    /// Sizes of files that are longer than their contents.
    std::map<std::u16string, std::uint64_t> sizes;
    /// A read answers no more than this at once.
    std::uint32_t longest_read = 0xFFFFFFFF;
    /// What a read that is told to fail leaves in the buffer.
    std::uint32_t kept_of_failed_read = 0;
    /// What a write that is told to fail leaves in the file.
    std::uint32_t kept_of_failed_write = 0;

    [[nodiscard]] std::size_t open_handles() const noexcept { return m_handles.size(); }
    /// Of the open file, from its start.
    [[nodiscard]] std::uint64_t position(platform::file_handle file) const { return m_handles.at(file).position; }

    platform::file_handle create_file(const char16_t* path, std::uint32_t access, std::uint32_t share_mode,
                                      const void* security, std::uint32_t disposition, std::uint32_t flags,
                                      platform::file_handle file_template) noexcept override;
    bool read(platform::file_handle file, void* buffer, std::uint32_t size_in_bytes,
              std::uint32_t* read_in_bytes) noexcept override;
    bool write(platform::file_handle file, const void* bytes, std::uint32_t size_in_bytes,
               std::uint32_t* written_in_bytes) noexcept override;
    std::uint32_t seek(platform::file_handle file, std::int32_t distance, std::int32_t* distance_high,
                       std::uint32_t method) noexcept override;
    std::uint32_t size(platform::file_handle file, std::uint32_t* size_high) noexcept override;
    bool close(platform::file_handle file) noexcept override;

private:
    struct open_file {
        std::u16string path;
        std::uint32_t access;
        std::uint64_t position;
    };
    /// Null, with the last error, for what is not open.
    open_file* find(platform::file_handle file) noexcept;
    [[nodiscard]] std::uint64_t size_of(const std::u16string& path) const;

    call_log& m_log;
    scripted_file_system& m_files;
    std::map<platform::file_handle, open_file> m_handles;
    platform::file_handle m_nextHandle = 0x100;
};

} // namespace cw::test_support
