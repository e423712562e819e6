#include "framework/cstring.h"

#include "foundation/string.h"

namespace cw {

bool CString::LoadString(std::uint32_t id)
{
    string resource;
    const bool found = resource.load(id);
    m_text = resource.view();
    return found;
}

} // namespace cw
