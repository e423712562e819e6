// What the companion puts in the place of open files while the viewer writes a report, as that one
// tells nobody where its writing fails.
#pragma once

#include "platform/last_error.h"
#include "platform/services.h"

#include <iosfwd>
#include <string>

namespace cw::console {

/// Forwards to the files that were in use at its making and keeps the first error of what writes.
class watched_files : public platform::open_files {
public:
    watched_files() noexcept : m_files(*platform::current().open) {}

    /// 0 where nothing went wrong.
    [[nodiscard]] std::uint32_t first_error() const noexcept { return m_firstError; }
    /// The system's words for an error.
    [[nodiscard]] static std::u16string text_of(std::uint32_t error);

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

protected:
    /// Keeps the last error where an operation failed; answers whether it worked.
    bool noted(bool worked) noexcept;

private:
    platform::open_files& m_files;
    std::uint32_t m_firstError = platform::error_success;
};

/// Whichever file is opened, it is one that is open already, and written to where it stands.
class files_to_descriptor final : public watched_files {
public:
    explicit files_to_descriptor(int descriptor) noexcept : m_descriptor(descriptor) {}

    platform::file_handle create_file(const char16_t*, std::uint32_t, std::uint32_t, const void*, std::uint32_t,
                                      std::uint32_t, platform::file_handle) noexcept override;
    // What others wrote there is not looked at.
    std::uint32_t seek(platform::file_handle, std::int32_t, std::int32_t*, std::uint32_t) noexcept override
    {
        return 0;
    }
    std::uint32_t size(platform::file_handle, std::uint32_t* size_high) noexcept override
    {
        if (size_high)
            *size_high = 0;
        return 0;
    }

private:
    int m_descriptor;
};

/// Whichever file is opened, what is written to it comes out of a stream as UTF-8. Each piece is whole
/// lines of UTF-16.
class files_to_stream final : public watched_files {
public:
    /// `is_terminal`: see `report_bytes`.
    files_to_stream(std::ostream& out, bool is_terminal) noexcept : m_out(out), m_isTerminal(is_terminal) {}

    platform::file_handle create_file(const char16_t*, std::uint32_t, std::uint32_t, const void*, std::uint32_t,
                                      std::uint32_t, platform::file_handle) noexcept override
    {
        return 0;
    }
    bool write(platform::file_handle file, const void* bytes, std::uint32_t size_in_bytes,
               std::uint32_t* written_in_bytes) noexcept override;
    bool close(platform::file_handle) noexcept override { return true; }

private:
    std::ostream& m_out;
    bool m_isTerminal;
};

/// A text as UTF-8, for a terminal without the characters that it would act on, but for whole line ends.
[[nodiscard]] std::string report_bytes(std::u16string_view text, bool is_terminal);

} // namespace cw::console
