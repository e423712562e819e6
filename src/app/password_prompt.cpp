#include "app/password_prompt.h"

namespace cw {
namespace {

constexpr std::uint32_t text_refusal = 141;

} // namespace

bool CMediaPasswordDlg::DoModal()
{
    string refusal;
    if (m_askedBefore)
        refusal.load(text_refusal);
    m_askedBefore = true;
    const auto answer = m_services.ask_password({m_mediaPath, refusal});
    if (!answer)
        return false;
    m_password = string(*answer);
    return true;
}

} // namespace cw
