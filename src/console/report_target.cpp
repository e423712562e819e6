#include "console/report_target.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <charconv>
#include <cstdlib>
#include <filesystem>
#include <stdexcept>
#include <string_view>
#include <system_error>

namespace cw::console {
namespace {

namespace fs = std::filesystem;

constexpr int most_links = 40;
constexpr auto standard_streams = std::to_array<std::string_view>({"/dev/stdin", "/dev/stdout", "/dev/stderr"});
constexpr auto media_extensions = std::to_array<std::string_view>({".hdr", ".cab"});

[[noreturn]] void fail(int system_error)
{
    throw std::runtime_error(std::generic_category().message(system_error));
}

bool is_same_file(const fs::path& a, const fs::path& b)
{
    std::error_code failure;
    return fs::equivalent(a, b, failure);
}

bool is_part_of_media(const fs::path& path)
{
    std::string extension = path.extension().string();
    std::ranges::transform(extension, extension.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c; });
    return std::ranges::find(media_extensions, extension) != media_extensions.end();
}

} // namespace

std::optional<int> descriptor_named(const std::string& name)
{
    fs::path path = name;
    for (int links = 0; links < most_links; ++links) {
        const auto stream = std::ranges::find(standard_streams, path.native());
        if (stream != standard_streams.end())
            return static_cast<int>(stream - standard_streams.begin());
        const std::string last = path.filename().string();
        int number = 0;
        const auto [behind, error] = std::from_chars(last.data(), last.data() + last.size(), number);
        if (error == std::errc() && behind == last.data() + last.size() && number >= 0 &&
            is_same_file(path.parent_path(), "/proc/self/fd"))
            return number;
        std::error_code failure;
        const fs::path next = fs::read_symlink(path, failure);
        if (failure)
            break;
        path = path.parent_path() / next;
    }
    return {};
}

target_kind kind_of_target(const std::string& path)
{
    struct stat status {};
    if (::stat(path.c_str(), &status) != 0) {
        const int reason = errno;
        if (reason != ENOENT)
            fail(reason);
        if (::lstat(path.c_str(), &status) == 0)
            throw std::runtime_error("a link that leads nowhere stands there");
        return target_kind::nothing;
    }
    if (S_ISDIR(status.st_mode))
        throw std::runtime_error("a folder stands there");
    if (!S_ISREG(status.st_mode))
        return target_kind::stream;
    if (::access(path.c_str(), W_OK) != 0 || (status.st_mode & (S_IWUSR | S_IWGRP | S_IWOTH)) == 0)
        throw std::runtime_error("a file that is read-only stands there");
    return target_kind::file;
}

void refuse_inputs(const std::string& target, std::span<const std::string> inputs)
{
    for (const std::string& input : inputs)
        if (!input.empty() && is_same_file(target, input))
            throw std::runtime_error("that is a file that the report is made from");
    if (inputs.empty())
        return;
    std::error_code failure;
    const fs::path folder = fs::absolute(inputs.front(), failure).parent_path();
    for (fs::directory_iterator entry(folder, failure), end; !failure && entry != end; entry.increment(failure))
        if (is_part_of_media(entry->path()) && is_same_file(target, entry->path()))
            throw std::runtime_error("that is a part of a media");
}

void take_over_permissions(const std::string& path, const std::string& from)
{
    struct stat status {};
    if (::stat(from.c_str(), &status) != 0)
        fail(errno);
    // Only an administrator can give files away; to everybody else the new file is their own.
    if (::geteuid() == 0 && ::chown(path.c_str(), status.st_uid, status.st_gid) != 0)
        fail(errno);
    if (::chmod(path.c_str(), status.st_mode & 07777) != 0)
        fail(errno);
}

} // namespace cw::console
