// A folder that files out of a media are put into, and out of which nothing gets.
#pragma once

#include <functional>
#include <string>
#include <vector>

namespace cw::console {

/// An open descriptor.
class descriptor {
public:
    explicit descriptor(int number) noexcept : m_number(number) {}
    descriptor(descriptor&& other) noexcept;
    descriptor& operator=(descriptor&& other) noexcept;
    ~descriptor();
    [[nodiscard]] int get() const noexcept { return m_number; }

private:
    int m_number;
};

/// Each file is written under a name of its own in a folder that only this user can enter, and moved
/// to its place when it is whole. All of it goes by open folders and not by their paths, so somebody
/// who exchanges folders for links meanwhile wins nothing, and a place that is taken in the last
/// moment is not overwritten.
class extract_folder {
public:
    /// The folder is there; links that lead to it are followed. Throws `std::runtime_error`.
    explicit extract_folder(std::string path);
    /// Takes the folder of unfinished files away.
    ~extract_folder();
    extract_folder(const extract_folder&) = delete;
    extract_folder& operator=(const extract_folder&) = delete;

    /// Lets `write` write a file to `working_path()` and puts it below the folder at `parts`, each of
    /// them one name; folders that are missing are made once it is written. What stands there is left
    /// alone, or, being a file or a link to one, replaced where `replace` says so. Throws
    /// `std::runtime_error` that tells why not, and whatever `write` throws; what stood there still
    /// does then.
    void put(const std::vector<std::string>& parts, bool replace, const std::function<void()>& write);

    /// Where files are written first. Means something in this process only.
    [[nodiscard]] const std::string& working_path() const noexcept { return m_workingPath; }

private:
    [[nodiscard]] descriptor open_below(const std::vector<std::string>& folders, bool make) const;

    descriptor m_folder;
    std::string m_workingName;
    descriptor m_working;
    std::string m_workingPath;
};

/// Makes a folder, with those above it, where it is missing. Throws `std::runtime_error`.
void make_folder(const std::string& path);

} // namespace cw::console
