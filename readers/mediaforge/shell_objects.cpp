#include "readers/mediaforge/shell_objects.h"

namespace cw::mediaforge {

com_ptr<IDispatch> shell_folder_object::sub_folders()
{
    return make_object<collection_object>(m_media, sorts::shell_folders, m_key);
}

com_ptr<IDispatch> shell_folder_object::shortcuts()
{
    return make_object<collection_object>(m_media, sorts::shortcuts, m_key);
}

} // namespace cw::mediaforge
