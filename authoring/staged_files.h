// Files that appear in a folder together or not at all: they are written into a hidden folder
// inside it and moved when all are whole. The media writer stages its header and volumes here.
#pragma once

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <vector>

namespace cw::authoring {

/// A file that is being written; every failure is an `error` that names it.
class output_file {
public:
    /// Creates the file; `shown_name` stands in error texts.
    output_file(const std::filesystem::path& path, std::string shown_name);
    ~output_file();
    output_file(const output_file&) = delete;
    output_file& operator=(const output_file&) = delete;

    void write(std::span<const std::uint8_t> data);
    /// Appends the whole content of another file.
    void append_file(const std::filesystem::path& path);
    /// Ends the file. A failure that the system kept back until now is thrown here.
    void close();

private:
    int m_descriptor;
    std::string m_shownName;
};

class staged_files {
public:
    /// Makes the target folder where it is missing, and the hidden folder inside it.
    explicit staged_files(std::filesystem::path target_folder);
    /// Removes what was not published, and the target folder where it was made for nothing.
    ~staged_files();
    staged_files(const staged_files&) = delete;
    staged_files& operator=(const staged_files&) = delete;

    /// Where the staged file of this name (UTF-8, no folders) is written. It will be published.
    [[nodiscard]] std::filesystem::path add(const std::string& name);
    /// Where a file lies that is never published.
    [[nodiscard]] std::filesystem::path scratch(const std::string& name) const;
    /// Moves all added files into the target folder. Where one cannot be moved, the folder is as it
    /// was before.
    void publish();

private:
    void move_into_place(std::size_t index);

    std::filesystem::path m_target;
    std::filesystem::path m_hidden;
    std::vector<std::filesystem::path> m_madeFolders; // innermost last
    std::vector<std::string> m_names;
    bool m_published = false;
};

} // namespace cw::authoring
