// The commands that turn what is open into a text file: Report hands it to the desktop, Save asks
// where to put it.

#include "app/main_frame.h"
#include "bridges/media_objects.h"
#include "fileio/file.h"
#include "fileio/file_operations.h"
#include "fileio/text_file.h"
#include "foundation/resource_text.h"

namespace cw {
namespace {

constexpr std::uint32_t text_save_filter = 269;
constexpr std::uint32_t text_proposed_name = 270;
constexpr std::u16string_view report_extension = u"txt";

/// The name is kept as long as the frame lives, so that there is one file to take away at its end.
void choose_report_path(string& path)
{
    if (path.empty())
        path = make_temp_name(true, report_extension, string(), false);
}

} // namespace

string CMainFrame::MediaReport() const
{
    const automation::com_ptr<IDispatch> report = get(m_media.get(), media::Report);
    // These can be long; the parts go as soon as they are joined.
    const automation::bstr first = get_bstr(report.get(), media_report::FirstPart);
    const automation::bstr second = get_bstr(report.get(), media_report::SecondPart);
    string text(first.view());
    text += second.view();
    return text;
}

void CMainFrame::OnReport(std::uint32_t)
{
    if (m_logLoader) {
        choose_report_path(m_reportPath);
        WriteLogReport(m_reportPath);
        Services().open_with_desktop(m_reportPath);
    } else if (m_media) {
        const string text = MediaReport();
        choose_report_path(m_reportPath);
        if (write_text_file(m_reportPath, text, code_page_utf16_little_endian, true) == 0)
            Services().open_with_desktop(m_reportPath);
    }
}

void CMainFrame::OnSave(std::uint32_t id)
{
    const string filter = resource_text(text_save_filter);
    const string proposed_name = resource_text(text_proposed_name);
    save_question question;
    question.proposed_name = proposed_name;
    question.default_extension = report_extension;
    question.filter = filter;
    const std::optional<save_answer> target = Services().choose_file_to_save(question);
    if (!target)
        return;
    const string path = combine_path(string(target->folder), string(target->file_name));
    if (m_logDocument)
        WriteLogReport(path);
    if (m_media) {
        m_reportPath = path;
        OnReport(id);
    }
}

} // namespace cw
