#include "authoring/staged_files.h"

#include "authoring/error.h"

#include <cerrno>
#include <cstdlib>
#include <fcntl.h>
#include <system_error>
#include <unistd.h>

namespace cw::authoring {
namespace fs = std::filesystem;
namespace {

[[noreturn]] void fail(const std::string& doing, int number)
{
    throw error(doing + ": " + std::generic_category().message(number));
}

} // namespace

output_file::output_file(const fs::path& path, std::string shown_name)
    : m_descriptor(::open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666)),
      m_shownName(std::move(shown_name))
{
    if (m_descriptor < 0)
        fail("cannot write " + m_shownName, errno);
}

output_file::~output_file()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

void output_file::write(std::span<const std::uint8_t> data)
{
    while (!data.empty()) {
        const ssize_t written = ::write(m_descriptor, data.data(), data.size());
        if (written < 0 && errno == EINTR)
            continue;
        if (written < 0)
            fail("cannot write " + m_shownName, errno);
        data = data.subspan(static_cast<std::size_t>(written));
    }
}

void output_file::append_file(const fs::path& path)
{
    const int source = ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
    if (source < 0)
        fail("cannot read back a part of " + m_shownName, errno);
    std::vector<std::uint8_t> buffer(1u << 20);
    try {
        for (;;) {
            const ssize_t count = ::read(source, buffer.data(), buffer.size());
            if (count < 0 && errno == EINTR)
                continue;
            if (count < 0)
                fail("cannot read back a part of " + m_shownName, errno);
            if (count == 0)
                break;
            write({buffer.data(), static_cast<std::size_t>(count)});
        }
    } catch (...) {
        ::close(source);
        throw;
    }
    ::close(source);
}

void output_file::close()
{
    const int descriptor = m_descriptor;
    m_descriptor = -1;
    if (::close(descriptor) != 0)
        fail("cannot write " + m_shownName, errno);
}

staged_files::staged_files(fs::path target_folder) : m_target(fs::absolute(target_folder).lexically_normal())
{
    std::vector<fs::path> missing;
    std::error_code code;
    for (fs::path folder = m_target; !folder.empty() && !fs::exists(folder, code); folder = folder.parent_path())
        missing.push_back(folder);
    const auto undo = [this] {
        std::error_code ignored;
        for (; !m_madeFolders.empty(); m_madeFolders.pop_back())
            fs::remove(m_madeFolders.back(), ignored);
    };
    for (auto folder = missing.rbegin(); folder != missing.rend(); ++folder) {
        // A path that ends in a separator names its last folder twice.
        if (fs::is_directory(*folder, code))
            continue;
        if (!fs::create_directory(*folder, code)) {
            undo();
            throw error("cannot make the folder " + folder->string() + ": " + code.message());
        }
        m_madeFolders.push_back(*folder);
    }
    std::string pattern = (m_target / ".cw-build-XXXXXX").string();
    if (::mkdtemp(pattern.data()) == nullptr) {
        const int number = errno;
        undo();
        fail("cannot write into " + m_target.string(), number);
    }
    m_hidden = pattern;
}

staged_files::~staged_files()
{
    std::error_code ignored;
    fs::remove_all(m_hidden, ignored);
    if (m_published)
        return;
    for (; !m_madeFolders.empty(); m_madeFolders.pop_back())
        fs::remove(m_madeFolders.back(), ignored);
}

fs::path staged_files::add(const std::string& name)
{
    m_names.push_back(name);
    return m_hidden / name;
}

fs::path staged_files::scratch(const std::string& name) const
{
    return m_hidden / ("scratch " + name);
}

void staged_files::move_into_place(std::size_t index)
{
    std::error_code code;
    fs::rename(m_hidden / m_names[index], m_target / m_names[index], code);
    if (code)
        throw error("cannot write " + (m_target / m_names[index]).string() + ": " + code.message());
}

void staged_files::publish()
{
    const auto kept_name = [this](std::size_t index) { return m_hidden / ("kept " + std::to_string(index)); };
    std::size_t reached = 0;
    std::error_code code;
    try {
        for (; reached < m_names.size(); ++reached) {
            const fs::path target = m_target / m_names[reached];
            const fs::file_status status = fs::symlink_status(target, code);
            if (fs::is_directory(status))
                throw error("cannot write " + target.string() + ": a folder has this name");
            if (fs::exists(status)) {
                fs::rename(target, kept_name(reached), code);
                if (code)
                    throw error("cannot replace " + target.string() + ": " + code.message());
            }
            move_into_place(reached);
        }
    } catch (...) {
        for (std::size_t i = 0; i <= reached && i < m_names.size(); ++i) {
            const fs::path target = m_target / m_names[i];
            if (i < reached)
                fs::remove(target, code);
            if (fs::exists(fs::symlink_status(kept_name(i), code)))
                fs::rename(kept_name(i), target, code);
        }
        throw;
    }
    m_published = true;
}

} // namespace cw::authoring
