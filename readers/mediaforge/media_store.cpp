#include "readers/mediaforge/media_store.h"

#include "readers/mediaforge/extraction.h"
#include "readers/mediaforge/header_check.h"

namespace cw::mediaforge {

media_store::media_store(std::unique_ptr<storage::database> source, std::string path,
                         std::shared_ptr<error_record> last_error)
    : m_database(std::move(source)), m_rows(*m_database), m_volumes(m_rows, std::move(path)),
      m_lastError(std::move(last_error))
{
    check_rows(*m_database, m_rows);
}

media_store::media_store(std::unique_ptr<storage::database> source, std::string path, std::unique_ptr<cabinet> content,
                         std::shared_ptr<error_record> last_error)
    : m_database(std::move(source)), m_rows(*m_database), m_volumes(m_rows, std::move(path), std::move(content)),
      m_lastError(std::move(last_error)), m_isPlainCabinet(true)
{
}

const std::vector<ordered_row>& media_store::feature_order()
{
    if (m_featureOrder.empty())
        m_featureOrder = tree_order(*m_database, "feature");
    return m_featureOrder;
}

void media_store::extract(std::int64_t component, std::int64_t position, const std::string& target)
{
    try {
        extract_file(m_rows, m_volumes, component, position, target);
        *m_lastError = {};
    } catch (const media_failure& failure) {
        m_lastError->remember(failure);
        throw;
    }
}

bool media_store::lists_volume(int number)
{
    return m_rows[rows::volume].find({number});
}

std::int64_t media_store::volume_set_id(int number)
{
    row_cursor& row = m_rows[rows::volume];
    return row.find({number}) ? row.integer(1) : -1;
}

} // namespace cw::mediaforge
