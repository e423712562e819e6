// Writes standard cabinets, one after another, from files of any size and any number. Used by the
// media writer for its volumes; any cabinet tool reads them.
#pragma once

#include "authoring/mszip.h"
#include "authoring/staged_files.h"
#include "authoring/stored_names.h"
#include "formats/media_format.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace cw::authoring {

enum class cabinet_compression { none, mszip };

struct cabinet_options {
    /// A folder is what has to be unpacked to come to a file in it.
    std::uint64_t folder_size_in_bytes = formats::default_folder_size_in_bytes;
    std::uint64_t volume_size_in_bytes = formats::largest_volume_size_in_bytes;
    std::uint32_t files_per_volume = formats::largest_volume_file_count;
    cabinet_compression compression = cabinet_compression::mszip;
    std::uint16_t set_id = 0;
};

inline constexpr std::uint64_t smallest_folder_size_in_bytes = 1024;
inline constexpr std::uint64_t largest_folder_size_in_bytes = 512ull * 1024 * 1024;
inline constexpr std::uint64_t smallest_volume_size_in_bytes = 4096;

/// Where a file, or one part of a long one, came to lie.
struct stored_part {
    std::uint64_t file; // counts from 0 in the order of begin_file
    int volume;         // from 1
    std::uint32_t entry;
    std::uint64_t size_in_bytes;
    std::uint64_t compressed_size_in_bytes; // its share of its folder
    bool last;                              // of the file's parts
};

struct written_volume {
    int number;
    std::uint64_t size_in_bytes;
    std::uint32_t entries;
};

class cabinet_writer {
public:
    using placed_callback = std::function<void(const stored_part&)>;

    /// The volumes "STEM1.cab", "STEM2.cab", … are staged in `stage`, which must outlive the writer.
    /// `placed` is told of all parts in their order, each as soon as its folder is written. Throws
    /// `error` for options outside of the format's limits.
    cabinet_writer(staged_files& stage, std::string stem, const cabinet_options& options, placed_callback placed);
    ~cabinet_writer();

    /// Begins the next file. `name` is a result of `stored_name`; `date` an automation date in UTC,
    /// which the cabinet holds to two seconds and from 1980 on.
    void begin_file(std::string_view name, double date);
    /// The next bytes of the file that was begun last.
    void write(std::span<const std::uint8_t> data);
    /// Writes what is left. No volume is there where there was no file.
    [[nodiscard]] std::vector<written_volume> finish();

private:
    struct pending_file {
        std::uint64_t file;
        std::string name;
        std::uint32_t dos_date_time; // the date in the upper half
        std::uint32_t part;          // from 0
        std::size_t offset;          // in the folder
        bool continues;
    };
    struct volume;

    [[nodiscard]] std::size_t folder_limit(std::size_t file_count) const;
    void write_folder(std::size_t length, std::size_t file_count);
    void write_volume();

    staged_files& m_stage;
    std::string m_stem;
    cabinet_options m_options;
    placed_callback m_placed;
    mszip_encoder m_encoder;
    std::uint64_t m_fileCount = 0;
    std::vector<std::uint8_t> m_folder; // its clear bytes so far
    std::vector<pending_file> m_pending;
    std::unique_ptr<volume> m_volume;
    std::vector<written_volume> m_written;
};

} // namespace cw::authoring
