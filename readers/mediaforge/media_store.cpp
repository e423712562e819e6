#include "readers/mediaforge/media_store.h"

#include "readers/mediaforge/extraction.h"
#include "readers/mediaforge/header_check.h"

#include <algorithm>

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
      m_lastError(std::move(last_error))
{
}

const std::vector<ordered_feature>& media_store::feature_order()
{
    if (!m_featureOrder.empty())
        return m_featureOrder;
    std::vector<ordered_feature> by_parent;
    storage::statement query(*m_database, "SELECT parent, id FROM feature ORDER BY parent, position");
    while (query.step())
        by_parent.push_back({query.integer(1), query.integer(0)});
    const auto less = [](const ordered_feature& a, const ordered_feature& b) { return a.parent < b.parent; };

    // A stack of features still to be visited, the next one on top.
    std::vector<ordered_feature> order;
    std::vector<ordered_feature> waiting{{0, 0}};
    while (!waiting.empty()) {
        const ordered_feature next = waiting.back();
        waiting.pop_back();
        if (next.id != 0)
            order.push_back(next);
        const auto [begin, end] =
            std::equal_range(by_parent.begin(), by_parent.end(), ordered_feature{0, next.id}, less);
        waiting.insert(waiting.end(), std::reverse_iterator(end), std::reverse_iterator(begin));
    }
    return m_featureOrder = std::move(order);
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
