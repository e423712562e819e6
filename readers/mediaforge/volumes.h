// Where the bytes of a media's files lie: the volumes beside a header, each checked against what the
// header says of it before it is read, or the cabinet itself where there is no header.
#pragma once

#include "readers/mediaforge/cabinet.h"
#include "readers/mediaforge/header_rows.h"

#include <cstdint>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace cw::mediaforge {

class volumes {
public:
    /// Volumes of the header at `header_path`, an absolute path.
    volumes(header_rows& queries, std::string header_path) : m_rows(queries), m_headerPath(std::move(header_path)) {}
    /// A cabinet without a header is the one volume, number 1.
    volumes(header_rows& queries, std::string path, std::unique_ptr<cabinet> content)
        : m_rows(queries), m_headerPath(std::move(path)), m_open(std::move(content)), m_openNumber(1),
          m_plainStamps(m_open->stamps())
    {
    }

    /// Hands the stored bytes of an entry to `sink`. Throws `media_failure` (volume_…,
    /// continuation_missing, contradiction), and what the sink throws.
    void read(std::int64_t number, std::int64_t entry, const byte_sink& sink);

private:
    cabinet& open(int number);
    void open_plain();
    void open_volume(int number);
    [[nodiscard]] std::string volume_name(int number) const;

    header_rows& m_rows;
    std::string m_headerPath;
    // The volume used last stays open: its tables are read once for many files, and an entry behind
    // the last one is reached without unpacking the folder from its start again.
    std::unique_ptr<cabinet> m_open;
    int m_openNumber = 0;
    std::vector<storage::file_stamp> m_plainStamps; // of the cabinets without a header when their entries were listed
};

} // namespace cw::mediaforge
