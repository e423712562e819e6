#include "authoring/source_files.h"

#include "authoring/dates.h"
#include "authoring/error.h"
#include "authoring/stored_names.h"

#include <algorithm>
#include <cerrno>
#include <sys/stat.h>
#include <system_error>
#include <utility>
#include <vector>

namespace cw::authoring {
namespace fs = std::filesystem;
namespace {

using identity = std::pair<dev_t, ino_t>;

struct stat status_of(const fs::path& path)
{
    struct stat status;
    if (::stat(path.c_str(), &status) != 0) {
        const int number = errno;
        if (number == ELOOP)
            throw error("cyclic: links lead to themselves: " + path.string());
        if (number == ENOENT || number == ENOTDIR)
            throw error("no such file: " + path.string());
        throw error("cannot read " + path.string() + ": " + std::generic_category().message(number));
    }
    return status;
}

class scanner {
public:
    explicit scanner(const std::function<void(source_file&&)>& report) : m_report(report) {}

    void take(const fs::path& path, const std::string& name)
    {
        const struct stat status = status_of(path);
        if (S_ISDIR(status.st_mode))
            take_folder(path, name, {status.st_dev, status.st_ino});
        else
            take_file(path, name, status);
    }

private:
    void take_file(const fs::path& path, const std::string& name, const struct stat& status)
    {
        if (!S_ISREG(status.st_mode))
            throw error("not a regular file: " + path.string());
        source_file file;
        file.name = name.empty() ? checked_leaf(path) : name;
        file.path = path.string();
        file.size_in_bytes = static_cast<std::uint64_t>(status.st_size);
        file.date = date_from_seconds(status.st_mtim.tv_sec);
        m_report(std::move(file));
    }

    void take_folder(const fs::path& path, const std::string& name, const identity& folder)
    {
        if (std::find(m_open.begin(), m_open.end(), folder) != m_open.end())
            throw error("cyclic: the folder lies within itself: " + path.string());
        m_open.push_back(folder);
        std::vector<fs::path> children;
        std::error_code code;
        for (fs::directory_iterator item(path, code), end; !code && item != end; item.increment(code))
            children.push_back(item->path());
        if (code)
            throw error("cannot read " + path.string() + ": " + code.message());
        std::sort(children.begin(), children.end(),
                  [](const fs::path& a, const fs::path& b) { return a.native() < b.native(); });
        for (const fs::path& child : children)
            take(child, (name.empty() ? "" : name + "\\") + checked_leaf(child));
        m_open.pop_back();
    }

    static std::string checked_leaf(const fs::path& path)
    {
        std::string leaf = path.filename().string();
        if (!is_utf8(leaf))
            throw error("the file name is not UTF-8: " + path.string());
        if (leaf.find('\\') != std::string::npos)
            throw error("the file name has a backslash: " + path.string());
        return leaf;
    }

    const std::function<void(source_file&&)>& m_report;
    std::vector<identity> m_open;
};

} // namespace

void scan_source(const fs::path& path, const std::function<void(source_file&&)>& report)
{
    scanner(report).take(path, "");
}

bool is_folder(const fs::path& path)
{
    return S_ISDIR(status_of(path).st_mode);
}

} // namespace cw::authoring
