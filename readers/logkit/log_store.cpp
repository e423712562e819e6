#include "readers/logkit/log_store.h"

#include "readers/logkit/feature_objects.h"
#include "readers/logkit/log_check.h"
#include "readers/storage/text.h"
#include "readers/storage/tree_check.h"

#include <algorithm>
#include <unordered_map>

namespace cw::logkit {
namespace {

std::unique_ptr<storage::reading> checked(storage::database& source)
{
    auto opening = std::make_unique<storage::reading>(source);
    check_log(source);
    return opening;
}

operation_queries prepare_operations(storage::database& source, const formats::operation_table* table)
{
    const std::string name(table ? table->name : "other_operation");
    const std::string columns = table ? ", " + formats::column_list(table->columns) : "";
    const std::string parent = " FROM " + name + " WHERE feature = ?1" + (table ? "" : " AND type = ?2");
    const std::string position = table ? "?2" : "?3";
    const std::string_view told = table ? table->name : "other_operation";
    return {
        table,
        {source, told, "SELECT position" + parent + " ORDER BY position DESC LIMIT 1"},
        {source, told, "SELECT position" + columns + parent + " AND position >= " + position + " ORDER BY position"}};
}

} // namespace

log_store::log_store(std::unique_ptr<storage::database> source)
    : m_source(std::move(source)), m_opening(checked(*m_source)),
      m_identity(*m_source, "feature", "SELECT id, identifier FROM feature WHERE parent = 0 AND position = 0"),
      m_elements(*m_source, "operation_element",
                 "SELECT operation, position, value_type, value FROM operation_element "
                 "WHERE type = ?1 AND feature = ?2 AND operation >= ?3 ORDER BY operation, position"),
      m_propertyNames(*m_source, "property",
                      "SELECT position, name, (type & 8192) <> 0 FROM property WHERE feature = ?1 ORDER BY position"),
      m_property(*m_source, "property", "SELECT type, value FROM property WHERE feature = ?1 AND position = ?2"),
      m_propertyElements(*m_source, "property_element",
                         "SELECT position, text FROM property_element "
                         "WHERE feature = ?1 AND property = ?2 ORDER BY position")
{
    for (const formats::operation_table& table : formats::operation_tables)
        m_operations.push_back(prepare_operations(*m_source, &table));
    m_operations.push_back(prepare_operations(*m_source, nullptr));
    read_features();
    read_types();
    read_lists();
    m_opening.reset();
}

void log_store::read_features()
{
    storage::typed_row query(*m_source, "feature",
                             "SELECT parent, position, id, name, identifier FROM feature ORDER BY parent, position");
    std::vector<storage::tree_row> tree;
    std::unordered_map<std::int64_t, std::size_t> index_of;
    while (query.step()) {
        tree.push_back({query.integer(0), query.integer(1), query.integer(2)});
        index_of[tree.back().id] = m_features.size();
        stored_feature& feature = m_features.emplace_back();
        feature.id = tree.back().id;
        feature.name = query.any_text(3);
        feature.identifier = query.any_text(4);
    }
    storage::check_tree(*m_source, tree, "feature", formats::deepest_feature_level);
    const auto mains = std::ranges::count(tree, 0, &storage::tree_row::parent);
    if (mains != 1)
        m_source->raise(storage::fault::contradiction,
                        mains == 0 ? u"there is no main feature" : u"there are several main features");
    for (std::size_t i = 0; i < m_features.size(); ++i) {
        if (tree[i].parent == 0) {
            m_mainFeature = i;
            continue;
        }
        const std::size_t parent = index_of.at(tree[i].parent);
        m_features[i].parent = parent;
        if (m_features[parent].child_count++ == 0)
            m_features[parent].first_child = i;
    }
    m_objects.resize(m_features.size());
}

void log_store::read_types()
{
    storage::typed_row query(*m_source, "operation_type", "SELECT id, name FROM operation_type ORDER BY id");
    while (query.step())
        m_types.push_back({query.integer(0), storage::to_utf16(query.any_text(1))});
    for (const stored_type& type : m_types)
        m_typeIds.emplace(type.name, type.id);
}

void log_store::read_lists()
{
    storage::typed_row query(*m_source, "operation_list",
                             "SELECT feature, type FROM operation_list ORDER BY feature, type");
    while (query.step())
        m_lists.emplace_back(query.integer(0), query.integer(1));
}

void log_store::check_identity()
{
    m_identity.ask();
    const stored_feature& main = m_features[m_mainFeature];
    if (!m_identity.step() || m_identity.integer(0) != main.id || m_identity.any_text(1) != main.identifier)
        m_source->raise(storage::fault::overwritten);
}

std::optional<std::int64_t> log_store::type_id(std::u16string_view name) const noexcept
{
    const auto found = m_typeIds.find(name);
    return found != m_typeIds.end() ? std::optional(found->second) : std::nullopt;
}

bool log_store::tells_of_operations(std::int64_t feature, std::int64_t type) const noexcept
{
    return std::ranges::binary_search(m_lists, std::pair(feature, type));
}

operation_queries& log_store::operations(std::u16string_view type) noexcept
{
    for (operation_queries& queries : m_operations)
        if (queries.table && queries.table->type == type)
            return queries;
    return m_operations.back();
}

com_ptr<IFeatureLog> log_store::feature_object(const std::shared_ptr<log_store>& self, std::size_t index)
{
    if (m_objects[index])
        return m_objects[index];
    com_ptr<IFeatureLog> made = make_object<logkit::feature_object>(self, index);
    if (m_keepsFeatures)
        m_kept.push_back(made);
    m_objects[index] = made.get();
    return made;
}

void log_store::forget_features() noexcept
{
    m_keepsFeatures = false;
    // A feature that goes takes its entry with it, and the last one the store.
    const std::vector<com_ptr<IFeatureLog>> kept = std::move(m_kept);
}

look::look(log_store& log) : m_reading(*log.m_source)
{
    if (m_reading.file_has_changed())
        log.check_identity();
}

} // namespace cw::logkit
