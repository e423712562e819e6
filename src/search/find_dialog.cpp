#include "search/find_dialog.h"

namespace cw {

bool CFindDlg::DoModal()
{
    const auto answer = m_services.ask_find_text({});
    if (!answer)
        return false;
    m_text = string(*answer);
    return true;
}

} // namespace cw
