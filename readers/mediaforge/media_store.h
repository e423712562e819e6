// One open media: its rows, its volumes and what is worked out once for all its objects. All objects
// of the model share it and keep it alive.
#pragma once

#include "readers/mediaforge/errors.h"
#include "readers/mediaforge/header_rows.h"
#include "readers/mediaforge/tree_order.h"
#include "readers/mediaforge/volumes.h"

#include <memory>
#include <string>
#include <vector>

namespace cw::mediaforge {

class media_store {
public:
    /// A header that was opened from `path` (absolute). Checks what costs little, so that the objects
    /// can trust it: the trees of features and shell folders, the numbering of components. Throws
    /// `media_failure`.
    media_store(std::unique_ptr<storage::database> source, std::string path, std::shared_ptr<error_record> last_error);
    /// A cabinet that has no header.
    media_store(std::unique_ptr<storage::database> source, std::string path, std::unique_ptr<cabinet> content,
                std::shared_ptr<error_record> last_error);

    [[nodiscard]] row_cursor& operator[](rows id) noexcept { return m_rows[id]; }
    [[nodiscard]] std::int32_t count(rows id, const row_key& key) { return m_rows.count(id, key); }
    /// All features in the order of the whole tree.
    [[nodiscard]] const std::vector<ordered_row>& feature_order();
    /// For queries of one's own, beside the shared ones above.
    [[nodiscard]] storage::database& source() noexcept { return *m_database; }
    /// Whether it is a cabinet without a header, which tells little of its files.
    [[nodiscard]] bool is_plain_cabinet() const noexcept { return m_isPlainCabinet; }

    /// Writes a file of the media to `target`. A failure leaves nothing there, is kept as the last
    /// error and thrown.
    void extract(std::int64_t component, std::int64_t position, const std::string& target);
    [[nodiscard]] bool lists_volume(int number);
    [[nodiscard]] std::int64_t volume_set_id(int number);

private:
    std::unique_ptr<storage::database> m_database;
    header_rows m_rows;
    volumes m_volumes;
    std::shared_ptr<error_record> m_lastError;
    std::vector<ordered_row> m_featureOrder;
    bool m_isPlainCabinet = false;
};

using media_handle = std::shared_ptr<media_store>;

} // namespace cw::mediaforge
