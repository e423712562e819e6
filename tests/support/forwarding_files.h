// Files that are the real ones, for tests to derive from where some calls are to answer otherwise.
#pragma once

#include "platform/services.h"

namespace cw::test_support {

class forwarding_file_system : public platform::file_system {
public:
    std::uint32_t attributes(const char16_t* path) noexcept override { return real.attributes(path); }
    std::uint32_t current_directory(char16_t* target, std::uint32_t room) noexcept override
    {
        return real.current_directory(target, room);
    }
    bool set_current_directory(const char16_t* path) noexcept override { return real.set_current_directory(path); }
    bool delete_file(const char16_t* path) noexcept override { return real.delete_file(path); }
    bool create_folder(const char16_t* path) noexcept override { return real.create_folder(path); }
    platform::file_handle find_first_file(const char16_t* path, platform::find_data* found) noexcept override
    {
        return real.find_first_file(path, found);
    }
    bool find_close(platform::file_handle search) noexcept override { return real.find_close(search); }
    std::uint32_t temp_folder(char16_t* target, std::uint32_t room) noexcept override
    {
        return real.temp_folder(target, room);
    }
    std::uint32_t temp_file_name(const char16_t* folder, const char16_t* prefix, std::uint32_t unique,
                                 char16_t* target) noexcept override
    {
        return real.temp_file_name(folder, prefix, unique, target);
    }

protected:
    platform::file_system& real = *platform::current().files;
};

class forwarding_open_files : public platform::open_files {
public:
    platform::file_handle create_file(const char16_t* path, std::uint32_t access, std::uint32_t share_mode,
                                      const void* security, std::uint32_t disposition, std::uint32_t flags,
                                      platform::file_handle file_template) noexcept override
    {
        return real.create_file(path, access, share_mode, security, disposition, flags, file_template);
    }
    bool read(platform::file_handle file, void* buffer, std::uint32_t size_in_bytes,
              std::uint32_t* read_in_bytes) noexcept override
    {
        return real.read(file, buffer, size_in_bytes, read_in_bytes);
    }
    bool write(platform::file_handle file, const void* bytes, std::uint32_t size_in_bytes,
               std::uint32_t* written_in_bytes) noexcept override
    {
        return real.write(file, bytes, size_in_bytes, written_in_bytes);
    }
    std::uint32_t seek(platform::file_handle file, std::int32_t distance, std::int32_t* distance_high,
                       std::uint32_t method) noexcept override
    {
        return real.seek(file, distance, distance_high, method);
    }
    std::uint32_t size(platform::file_handle file, std::uint32_t* size_high) noexcept override
    {
        return real.size(file, size_high);
    }
    bool close(platform::file_handle file) noexcept override { return real.close(file); }

protected:
    platform::open_files& real = *platform::current().open;
};

/// Puts the object of a test in the place of the open files, for the object's own lifetime.
class forwarding_open_files_in_use : public forwarding_open_files {
public:
    forwarding_open_files_in_use() : m_inUse(made()) {}

private:
    platform::services made() noexcept
    {
        platform::services set = platform::current();
        set.open = this;
        return set;
    }
    platform::scoped_services m_inUse;
};

} // namespace cw::test_support
