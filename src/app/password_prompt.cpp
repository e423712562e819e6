#include "app/password_prompt.h"

namespace cw {
namespace {

constexpr std::uint32_t text_refusal = 141;

} // namespace

bool CMediaPasswordDlg::DoModal()
{
    string refusal;
    if (m_asked_before)
        refusal.load(text_refusal);
    m_asked_before = true;
    const auto answer = m_services.ask_password({m_media_path, refusal});
    if (!answer)
        return false;
    m_password = string(*answer);
    return true;
}

} // namespace cw
