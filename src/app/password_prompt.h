// The prompt for the password of a protected media.
#pragma once

#include "foundation/string.h"
#include "framework/frame_services.h"

namespace cw {

class CMediaPasswordDlg {
public:
    /// Both are borrowed.
    CMediaPasswordDlg(frame_services& services, const string& media_path) noexcept
        : m_services(services), m_mediaPath(media_path)
    {
    }

    /// Asks; every showing after the first tells that the password before it was refused. False when
    /// the person gives up.
    bool DoModal();
    [[nodiscard]] const string& Password() const noexcept { return m_password; }

private:
    frame_services& m_services;
    const string& m_mediaPath;
    string m_password;
    bool m_askedBefore = false;
};

} // namespace cw
