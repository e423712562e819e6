// Reads the files of a media and writes them into its volumes, sealed where the media is protected,
// and their rows into its header. Used by `build_media`.
#pragma once

#include "authoring/cabinet_writer.h"
#include "authoring/error.h"
#include "authoring/media_writer.h"
#include "authoring/source_files.h"

#include <cstdint>
#include <deque>
#include <functional>
#include <string>

namespace cw::authoring {

/// Told after each piece that was read: bytes done and to do in all, and the name of the file.
using progress_callback =
    std::function<void(std::uint64_t done_in_bytes, std::uint64_t total_in_bytes, const std::string& current_file)>;

/// The fault lies with a file that was to be read, not with what is written.
class source_error : public error {
    using error::error;
};

class payload_writer {
public:
    /// `media` and `stage` outlive the writer. `progress` may be empty.
    payload_writer(media_writer& media, staged_files& stage, const std::string& name, const cabinet_options& options,
                   std::uint64_t total_in_bytes, progress_callback progress);

    /// Adds the next file of the component. Throws `source_error` where it cannot be read, is no longer
    /// of the size that it had, or has another MD5 than expected, and `error` for all else.
    void add(std::int64_t component, const std::string& component_name, const source_file& file);
    /// Writes what is left and the rows of the volumes; their number.
    std::size_t finish();

private:
    struct pending_row {
        std::int64_t component;
        file_row values;
        bool complete;
        bool compressed_size_is_given;
    };
    using piece_visitor = std::function<void(std::span<const std::uint8_t> piece, bool last)>;

    void read(const source_file& file, const piece_visitor& visit);
    void add_clear(const source_file& file, const std::string& stored_as, file_row& values);
    void add_sealed(const source_file& file, file_row& values);
    void report_progress(const source_file& file, std::size_t size_in_bytes);
    void place(const stored_part& part);
    void write_complete_rows();

    media_writer& m_media;
    std::uint16_t m_setId;
    cabinet_writer m_cabinets;
    std::uint64_t m_totalInBytes;
    std::uint64_t m_doneInBytes = 0;
    progress_callback m_progress;
    std::uint64_t m_fileCount = 0;
    // Files wait here in their order until their folders are written.
    std::deque<pending_row> m_pending;
    std::size_t m_firstUnplaced = 0; // in m_pending
    std::vector<std::uint8_t> m_buffer;
};

} // namespace cw::authoring
