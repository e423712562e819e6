// How a path becomes a session, what the session owns, and the order in which an old one is given
// up. At most one input is open at a time, a media or a log.

#include "app/main_frame.h"
#include "app/menus.h"
#include "app/password_prompt.h"
#include "bridges/activation.h"
#include "bridges/media_objects.h"
#include "foundation/resource_text.h"
#include "framework/recent_file_list.h"
#include "platform/path_style.h"

#include <cstring>

namespace cw {
namespace {

constexpr std::uint32_t text_open_filter = 142;
constexpr std::int32_t error_password_needed = 142;
constexpr const char* log_marker = ".clg";

/// The marker may stand anywhere in the path, a folder's name included, and in lower case only.
bool is_log_path(const string& path)
{
    string copy(path);
    return std::strstr(copy.narrow(), log_marker) != nullptr;
}

string file_name_of(const string& path)
{
    const std::size_t last = path.rfind(path_separator_of(path));
    return last != string::npos && last > 1 ? path.substr(last + 1) : path;
}

} // namespace

void CMainFrame::OnFileOpen(std::uint32_t)
{
    const string filter = resource_text(text_open_filter);
    if (const auto chosen = Services().choose_file_to_open({filter}))
        OpenFile(string(*chosen));
}

void CMainFrame::OnOpenRecentFile(std::uint32_t id)
{
    const auto index = static_cast<std::int64_t>(id) - ID_FILE_MRU_FIRST;
    if (index < 0 || index >= static_cast<std::int64_t>(m_recentFiles.GetSize()))
        throw invalid_argument_exception();
    const auto entry = static_cast<std::size_t>(index);
    if (!OpenFile(string(m_recentFiles[entry].view())))
        m_recentFiles.Remove(entry);
}

bool CMainFrame::OpenFile(const string& path)
{
    SetTitle(path);
    const automation::com_ptr<IDispatch> previous_media = m_media;
    m_media.reset();
    m_logLoader.reset();
    m_logDocument.reset();
    m_rootFeatureLog.reset();
    m_findText.Empty();
    m_openPath = path;
    return is_log_path(path) ? OpenLogFile(path) : OpenMediaFile(path, previous_media);
}

bool CMainFrame::OpenLogFile(const string& path)
{
    OpenLog(path);
    PopulateLogTree();
    m_treeCtrl.SelectItem({});
    m_recentFiles.Add(path);
    return true;
}

std::int32_t CMainFrame::OpenLog(const string& path)
{
    m_navNodes.clear();
    m_listCtrl.DeleteAllItems();
    m_treeCtrl.DeleteAllItems();
    m_treeCtrl.InsertItem(file_name_of(path), {}, {});

    const HRESULT result = activate_log_loader(m_logLoader);
    if (FAILED(result))
        return result;
    try {
        string copy(path);
        HRESULT called = m_logLoader->Open(*copy.bstr(), m_logDocument.put());
        if (FAILED(called))
            raise_com_error_for(called, m_logLoader.get(), IID_ILogLoader);
        if (!m_logDocument)
            raise_com_error(E_POINTER);
        called = m_logDocument->RootFeature(m_rootFeatureLog.put());
        if (FAILED(called))
            raise_com_error_for(called, m_logDocument.get(), IID_ILogDocument);
    } catch (...) {
        // A log that cannot be read leaves the root item and no word.
        return 1;
    }
    return 0;
}

bool CMainFrame::OpenMediaFile(const string& path, const automation::com_ptr<IDispatch>& previous_media)
{
    std::int32_t result = OpenMedia(path, string());
    if (result != 0 && m_mediaFactory) {
        if (result != error_password_needed) {
            ReportOpenError();
            return false;
        }
        CMediaPasswordDlg prompt(Services(), path);
        while (result != 0 && prompt.DoModal())
            result = OpenMedia(path, prompt.Password());
    }
    if (!m_media) {
        // The old tree was never cleared and is of use again.
        m_media = previous_media;
        return false;
    }
    SetStatusText(0, u"Opened media: " + path);
    m_recentFiles.Add(path);
    RebuildTree();
    return true;
}

std::int32_t CMainFrame::OpenMedia(const string& path, const string& password)
{
    if (m_media) {
        m_media.reset();
        m_mediaFactory.reset();
        m_navNodes.clear();
        ClearTreeAndList();
    }
    if (!m_mediaFactory) {
        const HRESULT result = activate_media_factory(m_mediaFactory);
        if (FAILED(result))
            return result;
    }
    try {
        m_media = open_media(m_mediaFactory.get(), path, password);
        return 0;
    } catch (...) {
        const automation::com_ptr<IDispatch> error = get(m_mediaFactory.get(), media_factory::LastError);
        return get(error.get(), media_error::Number);
    }
}

void CMainFrame::ReportOpenError()
{
    const automation::com_ptr<IDispatch> error = get(m_mediaFactory.get(), media_factory::LastError);
    const std::int32_t number = get(error.get(), media_error::Number);
    const string description = get(error.get(), media_error::Description);
    const string system_text = get(error.get(), media_error::SystemText);
    string message;
    message.format(u"Error %d while attempting to open media. Error: %s (system error '%s')", number,
                   description.c_str(), system_text.c_str());
    Services().show_message(message, message_icon::error);
}

void CMainFrame::ClearTreeAndList()
{
    m_listCtrl.DeleteAllItems();
    m_treeCtrl.DeleteAllItems();
}

} // namespace cw
