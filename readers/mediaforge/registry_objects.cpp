#include "readers/mediaforge/registry_objects.h"

#include "readers/storage/stored_value.h"

namespace cw::mediaforge {

com_ptr<IDispatch> registry_set_object::components()
{
    return make_object<collection_object>(m_media, sorts::set_components, m_key);
}

com_ptr<IDispatch> registry_key_object::values()
{
    return make_object<collection_object>(m_media, sorts::registry_values, m_key);
}

automation::variant registry_value_object::data()
{
    const row_cursor& own = row();
    return storage::scalar_value(own, static_cast<VARTYPE>(own.natural(0, UINT16_MAX)), 1);
}

} // namespace cw::mediaforge
