#include "readers/mediaforge/collections.h"

#include "readers/mediaforge/component_objects.h"
#include "readers/mediaforge/feature_objects.h"
#include "readers/mediaforge/registry_objects.h"
#include "readers/mediaforge/shell_objects.h"
#include "readers/storage/text.h"

namespace cw::mediaforge {
namespace {

[[noreturn]] void no_such_item(std::u16string_view item_name, const std::u16string& which)
{
    throw automation::automation_error(E_FAIL, u"There is no " + std::u16string(item_name) + which + u".");
}

/// Goes to a row that is there as long as the header keeps its word; `Class::row` fails otherwise.
template <class Class>
com_ptr<IDispatch> present(com_ptr<Class> object)
{
    (void)object->row();
    return object;
}

/// An item that `own` names by its id; the query answers the id in its first column.
std::int64_t stored_id(const media_handle& media, rows query, const row_key& key)
{
    row_cursor& row = (*media)[query];
    if (!row.find(key))
        row.contradict(u"a row is not there");
    return row.integer(0);
}

/// Items whose rows are found by an id that another query gives for a parent and a position.
template <class Class, rows Query>
com_ptr<IDispatch> item_by_id(const media_handle& media, const row_key& key, std::int32_t position)
{
    return present(make_object<Class>(media, stored_id(media, Query, {key.first, position})));
}

/// Items whose id is their position plus 1.
template <class Class>
com_ptr<IDispatch> item_by_number(const media_handle& media, const row_key&, std::int32_t position)
{
    return present(make_object<Class>(media, std::int64_t{position} + 1));
}

/// Items whose rows bear the parent and the position themselves.
template <class Class>
com_ptr<IDispatch> item_by_position(const media_handle& media, const row_key& key, std::int32_t position)
{
    return present(make_object<Class>(media, key.first, position));
}

com_ptr<IDispatch> registry_key_item(const media_handle& media, const row_key& key, std::int32_t position)
{
    return present(make_object<registry_key_object>(
        media, stored_id(media, rows::registry_key_child, {key.first, key.second, position})));
}

std::optional<std::int32_t> find_component(const media_handle& media, const row_key&, const std::u16string& name)
{
    row_cursor& row = (*media)[rows::component_by_name];
    if (!row.find({}, storage::to_utf8(name)))
        return {};
    return static_cast<std::int32_t>(row.natural(0, INT32_MAX) - 1);
}

std::optional<std::int32_t> find_file_name(const media_handle& media, const row_key& key, const std::u16string& name)
{
    row_cursor& row = (*media)[rows::file_by_name];
    if (!row.find({key.first}, storage::to_utf8(name)))
        return {};
    return static_cast<std::int32_t>(row.natural(0, INT32_MAX));
}

} // namespace

namespace sorts {

const collection_sort features{u"feature", rows::feature_count, &item_by_id<feature_object, rows::feature_child>, {}};
const collection_sort required_features{
    u"feature", rows::requirement_count, &item_by_id<feature_object, rows::requirement>, {}};
const collection_sort included_components{
    u"component", rows::included_component_count, &item_by_id<component_object, rows::included_component>, {}};
const collection_sort properties{u"property", rows::property_count, &item_by_position<feature_property_object>, {}};
const collection_sort components{u"component", rows::component_count, &item_by_number<component_object>,
                                 &find_component};
const collection_sort files{u"file", rows::file_count, &item_by_position<file_object>, &find_file_name};
const collection_sort setup_types{u"setup type", rows::setup_type_count, &item_by_number<setup_type_object>, {}};
const collection_sort shell_folders{
    u"shell folder", rows::shell_folder_count, &item_by_id<shell_folder_object, rows::shell_folder_child>, {}};
const collection_sort shortcuts{u"shortcut", rows::shortcut_count, &item_by_position<shortcut_object>, {}};
const collection_sort registry_sets{
    u"registry set", rows::registry_set_count, &item_by_number<registry_set_object>, {}};
const collection_sort set_components{
    u"component", rows::set_component_count, &item_by_id<component_object, rows::set_component>, {}};
const collection_sort registry_keys{u"registry key", rows::registry_key_count, &registry_key_item, {}};
const collection_sort registry_values{
    u"registry value", rows::registry_value_count, &item_by_position<registry_value_object>, {}};

} // namespace sorts

std::int32_t item_source::count()
{
    if (m_count)
        return *m_count;
    const std::int32_t found = m_media->count(m_sort->counting, m_key);
    if (m_sort->counting == rows::file_count) {
        row_cursor& component = (*m_media)[rows::component];
        if (!component.find(m_key) || component.integer(0) != found)
            component.contradict(u"the number of a component's files is not that of its rows");
    }
    m_count = found;
    return found;
}

std::int32_t position_of(const VARIANT* which, std::int32_t count, std::u16string_view item_name)
{
    if (!which)
        throw automation::automation_error(DISP_E_BADPARAMCOUNT);
    automation::variant index;
    if (which->vt == VT_BSTR || FAILED(VariantChangeType(&index, which, 0, VT_I4)))
        throw automation::automation_error(DISP_E_TYPEMISMATCH,
                                           u"A " + std::u16string(item_name) + u" is found by its index.");
    if (index.lVal < 1 || index.lVal > count)
        no_such_item(item_name, u" number " + storage::to_utf16(std::to_string(index.lVal)) + u" among " +
                                    storage::to_utf16(std::to_string(count)));
    return index.lVal - 1;
}

com_ptr<IDispatch> item_source::item(const VARIANT* which)
{
    automation::variant followed;
    if (which && (which->vt & VT_BYREF)) {
        if (const HRESULT result = VariantCopyInd(&followed, which); FAILED(result))
            throw automation::automation_error(result);
        which = &followed;
    }
    if (which && which->vt == VT_BSTR && m_sort->find) {
        const std::u16string name(which->bstrVal ? which->bstrVal : u"", SysStringLen(which->bstrVal));
        const std::optional<std::int32_t> position = m_sort->find(m_media, m_key, name);
        if (!position)
            no_such_item(m_sort->item_name, u" named \"" + name + u"\"");
        return m_sort->make_item(m_media, m_key, *position);
    }
    return m_sort->make_item(m_media, m_key, position_of(which, count(), m_sort->item_name));
}

} // namespace cw::mediaforge
