// The file of a log that is about to be recorded: found, or made as a whole, known to be a log, and
// held against other recorders. Used by the recorder and by whoever puts a whole log into place.
#pragma once

#include <filesystem>
#include <string>

#include <sys/types.h>

namespace cw::authoring {

/// While it lives no other recorder gets the log; readers are not hindered. Closing any descriptor of a
/// file ends the locks that SQLite has on it within the same process, so a process should not read a
/// log through SQLite past the end of its own recorder of that log.
class log_file {
public:
    /// The log at that path, or a new one where nothing is or an empty file. Throws `error` for anything
    /// else, which is left as it is.
    explicit log_file(const std::filesystem::path& path);
    ~log_file();
    log_file(const log_file&) = delete;
    log_file& operator=(const log_file&) = delete;

    /// The absolute path without links.
    [[nodiscard]] const std::string& path() const noexcept { return m_path; }
    /// Throws `error` where the file is no longer found under its path.
    void require_in_place() const;

private:
    [[nodiscard]] bool open_existing();
    [[nodiscard]] bool make(bool replace_empty);
    void check_header(off_t size) const;
    void close() noexcept;

    std::string m_path;
    int m_descriptor = -1;
    bool m_isRegistered = false;
};

/// Moves a file to a path of the same folder and syncs the folder. What stands there is an `error`, or,
/// being a file, replaced where `replace` says so; never where a recorder has left or has work beside it.
void put_into_place(const std::filesystem::path& from, const std::filesystem::path& to, bool replace);

} // namespace cw::authoring
