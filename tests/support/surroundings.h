// What a test on this system changes about its process, and back at the test's end.
#pragma once

#include <cstddef>
#include <cstdlib>
#include <filesystem>
#include <iterator>
#include <optional>
#include <string>
#include <sys/stat.h>
#include <unistd.h>

namespace cw::test_support {

class environment_variable {
public:
    environment_variable(const char* name, const std::string& value) : m_name(name)
    {
        if (const char* before = std::getenv(name))
            m_before = before;
        setenv(name, value.c_str(), 1);
    }
    ~environment_variable() { m_before ? setenv(m_name, m_before->c_str(), 1) : unsetenv(m_name); }
    environment_variable(const environment_variable&) = delete;
    environment_variable& operator=(const environment_variable&) = delete;

private:
    const char* m_name;
    std::optional<std::string> m_before;
};

class file_mode_mask {
public:
    explicit file_mode_mask(mode_t mask) : m_before(umask(mask)) {}
    ~file_mode_mask() { umask(m_before); }
    file_mode_mask(const file_mode_mask&) = delete;
    file_mode_mask& operator=(const file_mode_mask&) = delete;

private:
    mode_t m_before;
};

/// Gives up the rights of an administrator, to whom nothing is denied.
class as_nobody {
public:
    as_nobody() : m_wasRoot(geteuid() == 0) { m_isRoot = m_wasRoot && seteuid(65534) != 0; }
    ~as_nobody()
    {
        if (m_wasRoot && !m_isRoot && seteuid(0) != 0)
            std::abort();
    }
    as_nobody(const as_nobody&) = delete;
    as_nobody& operator=(const as_nobody&) = delete;

    /// False where the rights cannot be given up; the test has nothing to see then.
    [[nodiscard]] bool is_denied_things() const noexcept { return !m_isRoot; }

private:
    bool m_wasRoot;
    bool m_isRoot = false;
};

/// How many descriptors the process has open.
[[nodiscard]] inline std::ptrdiff_t open_descriptors()
{
    // The folder is open while it is counted: always one more.
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {});
}

[[nodiscard]] inline mode_t mode_of(const std::string& path)
{
    struct stat status {};
    return stat(path.c_str(), &status) == 0 ? status.st_mode & 07777 : 0;
}

} // namespace cw::test_support
