// One cabinet file, or a set of continued ones, read through libmspack: its entries in their order,
// and the bytes of each. Used for the volumes of a media and for cabinets without a header.
#pragma once

#include "formats/sealed.h"
#include "readers/mediaforge/mszip_folders.h"
#include "readers/storage/file_stamp.h"

#include <mspack.h>

#include <cstdint>
#include <list>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace cw::mediaforge {

/// Why a cabinet or an entry cannot be read, in plain words.
struct cabinet_error {
    std::u16string reason;
    int system_error = 0;
};

struct cabinet_system;

class cabinet {
public:
    /// Opens a cabinet. Throws `cabinet_error`, also for one that is shorter than it says.
    explicit cabinet(const std::string& path);
    ~cabinet();
    cabinet(const cabinet&) = delete;
    cabinet& operator=(const cabinet&) = delete;

    /// Takes in the cabinets of the same set that lie beside this one, as far as they are there.
    /// What keeps the set incomplete stands in `missing_neighbour` afterwards.
    void join_neighbours();
    [[nodiscard]] const std::u16string& missing_neighbour() const noexcept { return m_missingNeighbour; }

    [[nodiscard]] const std::vector<const mscabd_file*>& entries() const noexcept { return m_entries; }
    [[nodiscard]] const mscabd_folder* folders() const noexcept { return m_cabinet->folders; }
    [[nodiscard]] unsigned set_id() const noexcept { return m_cabinet->set_id; }
    /// Of the cabinet that was opened, without its neighbours.
    [[nodiscard]] std::uint64_t size_in_bytes() const noexcept { return m_stamps.front().size_in_bytes; }
    /// Of all files of the set as they were when they were opened, this one's first.
    [[nodiscard]] const std::vector<storage::file_stamp>& stamps() const noexcept { return m_stamps; }
    /// Whether all files of the set are still what was opened.
    [[nodiscard]] bool is_unchanged() const noexcept;

    /// Hands the bytes of an entry to `sink`. Throws `cabinet_error`, and what the sink throws.
    /// After a failure the cabinet is in no state to be read from again.
    void read(std::size_t entry, const byte_sink& sink);

private:
    mscabd_cabinet* open_one(const std::string& path);
    mscabd_cabinet* join_next(mscabd_cabinet* end, bool before);
    bool merge(mscabd_cabinet* left, mscabd_cabinet* right);
    void collect_entries();
    /// One of libmspack's codes.
    int read_mszip(const mscabd_file& file, const byte_sink& sink);
    int read_by_libmspack(const mscabd_file& file, const byte_sink& sink);

    std::unique_ptr<cabinet_system> m_system;
    mscab_decompressor* m_decompressor = nullptr;
    mscabd_cabinet* m_cabinet = nullptr;
    std::list<std::string> m_paths; // libmspack keeps pointers to them
    std::vector<storage::file_stamp> m_stamps;
    struct kept_file {
        std::string name;
        mscabd_file file;
    };
    std::list<kept_file> m_kept; // files of the set that libmspack does not keep itself
    std::vector<const mscabd_file*> m_entries;
    std::optional<mszip_folders> m_mszip; // from the first entry on that it can read
    std::u16string m_missingNeighbour;
};

/// Whether a file that begins with these bytes is a cabinet.
[[nodiscard]] bool is_cabinet(formats::byte_view first_bytes) noexcept;

/// The path of a file in `folder` by its name, or by its name in another case where that is the
/// only way; empty where there is none.
[[nodiscard]] std::string find_file(const std::string& folder, const std::string& name);
/// The part of a path before its last separator, "." where it has none, "/" at the root.
[[nodiscard]] std::string folder_of(const std::string& path);
[[nodiscard]] std::string file_name_of(const std::string& path);

} // namespace cw::mediaforge
