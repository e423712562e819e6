// What the tests of the media writer share: folders that go away, headers as rows of text, volumes
// as another library and other people's tools see them.
#pragma once

#include "formats/sealed.h"

#include <cstdint>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

namespace cw::test {

namespace fs = std::filesystem;

/// A folder of its own for one test.
class temporary_folder {
public:
    temporary_folder();
    ~temporary_folder();
    [[nodiscard]] const fs::path& path() const { return m_path; }
    /// A path in the folder; folders above it are made.
    [[nodiscard]] fs::path operator/(std::string_view name) const;

private:
    fs::path m_path;
};

void write_file(const fs::path& path, std::string_view content);
[[nodiscard]] std::string read_file(const fs::path& path);
/// Names of all that lies in the folder, hidden files included, sorted.
[[nodiscard]] std::vector<std::string> names_in(const fs::path& folder);
/// Bytes that cannot be compressed.
[[nodiscard]] std::string noise(std::size_t size, unsigned seed = 1);

/// The answer of a query on a header, one text a row, values with "|" between them, blobs in
/// hexadecimal digits, nulls as "null". A protected header is opened with the password.
[[nodiscard]] std::vector<std::string> query(const fs::path& header, const std::string& statement,
                                             const std::string& password = {});

struct cabinet_entry {
    std::string name;
    std::string content;
    std::uint32_t offset;
    int attributes;
    int year, month, day, hour, minute, second;
    std::size_t folder; // from 0
};
struct cabinet_content {
    std::uint32_t length;
    int set_id, set_index, flags;
    std::vector<cabinet_entry> entries;
    std::size_t folders;
};
/// A cabinet as the library reads it. Fails the test where it cannot.
[[nodiscard]] cabinet_content read_cabinet(const fs::path& path);
/// Fails the test where an installed tool finds a fault in the cabinet.
void expect_sound_cabinet(const fs::path& path);

/// What the call throws as `authoring::error`, or "no error".
[[nodiscard]] std::string error_of(const std::function<void()>& call);

} // namespace cw::test
