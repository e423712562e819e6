// The file that an extraction writes: it lies under a temporary name in the target's folder and gets
// its own name when it is whole. Used by the extraction.
#pragma once

#include "formats/sealed.h"

#include <ctime>
#include <optional>
#include <string>

namespace cw::mediaforge {

class target_file {
public:
    /// Creates the temporary file. Throws `media_failure` (target_refused), as all operations here;
    /// also for a path where something other than a file stands. A link is never written through:
    /// the finished file takes its place.
    explicit target_file(const std::string& path);
    /// Removes what was not committed.
    ~target_file();
    target_file(const target_file&) = delete;
    target_file& operator=(const target_file&) = delete;

    void write(formats::byte_view piece);
    /// Gives the file its time (UTC), where there is one, and its name.
    void commit(std::optional<std::time_t> modified);

private:
    [[noreturn]] void refuse(std::u16string_view why, int system_error);

    std::string m_path;
    std::string m_temporary;
    int m_descriptor = -1;
};

} // namespace cw::mediaforge
