#include "readers/mediaforge/feature_objects.h"

#include "readers/mediaforge/stored_value.h"
#include "readers/storage/stored_value.h"
#include "readers/storage/text.h"

#include <unordered_set>

namespace cw::mediaforge {

com_ptr<IDispatch> feature_object::sub_features()
{
    if (m_tree)
        return make_object<setup_type_features>(m_media, m_tree, m_key.first);
    return make_object<collection_object>(m_media, sorts::features, m_key);
}

com_ptr<IDispatch> feature_object::included_components()
{
    return make_object<collection_object>(m_media, sorts::included_components, m_key);
}

com_ptr<IDispatch> feature_object::required_features()
{
    return make_object<collection_object>(m_media, sorts::required_features, m_key);
}

com_ptr<IDispatch> feature_object::object_properties()
{
    if (m_media->count(rows::property_count, m_key) == 0)
        return {};
    return make_object<collection_object>(m_media, sorts::properties, m_key);
}

automation::variant feature_property_object::value()
{
    const row_cursor& own = row();
    const auto type = static_cast<VARTYPE>(own.natural(1, UINT16_MAX));
    if (!(type & VT_ARRAY))
        return storage::scalar_value(own, type, 3);
    row_cursor& elements = (*m_media)[rows::property_element];
    elements.rewind(m_key);
    return array_value(elements, type, own.integer(2));
}

automation::bstr feature_property_object::property_name()
{
    return storage::to_bstr(row().text(0));
}

com_ptr<IDispatch> setup_type_object::features()
{
    if (!m_tree) {
        std::unordered_set<std::int64_t> belonging;
        row_cursor& query = (*m_media)[rows::setup_type_feature];
        query.rewind(m_key);
        while (query.next())
            belonging.insert(query.integer(0));
        auto tree = std::make_shared<setup_type_tree>();
        std::size_t placed = 0;
        for (const ordered_row& feature : m_media->feature_order()) {
            if (!belonging.contains(feature.id))
                continue;
            (*tree)[belonging.contains(feature.parent) ? feature.parent : 0].push_back(feature.id);
            ++placed;
        }
        if (placed != belonging.size())
            query.contradict(u"a setup type names features that are not there");
        m_tree = std::move(tree);
    }
    return make_object<setup_type_features>(m_media, m_tree, 0);
}

setup_type_features::setup_type_features(media_handle media, std::shared_ptr<const setup_type_tree> tree,
                                         std::int64_t parent)
    : m_media(std::move(media)), m_tree(std::move(tree))
{
    static const std::vector<std::int64_t> none;
    const auto found = m_tree->find(parent);
    m_ids = found == m_tree->end() ? &none : &found->second;
}

std::int32_t setup_type_features::count()
{
    return static_cast<std::int32_t>(m_ids->size());
}

com_ptr<IDispatch> setup_type_features::item(const VARIANT* which)
{
    const std::int32_t position = position_of(which, count(), u"feature");
    return make_object<feature_object>(m_media, (*m_ids)[static_cast<std::size_t>(position)], m_tree);
}

} // namespace cw::mediaforge
