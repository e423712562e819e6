// Extract File: the selected row of a component's files goes to a place that the person chooses.

#include "app/main_frame.h"
#include "bridges/media_objects.h"

namespace cw {
namespace {

constexpr std::u16string_view extraction_failed =
    u"An error occurred extracting the file. Please verify all setup cab files are present in the source folder.";

} // namespace

std::optional<string> CMainFrame::ExtractableFile() const
{
    const auto node = m_navNodes.find(m_treeCtrl.GetSelectedItem());
    if (node == m_navNodes.end() || node->second.kind != NODEKIND_COMPONENT_FILES)
        return {};
    const std::size_t row = m_listCtrl.GetSelectedRow();
    if (row == CListCtrl::no_row)
        return {};
    string name = m_listCtrl.GetItemText(row, 0);
    if (!is_other_than_backslash(name))
        return {};
    return name;
}

void CMainFrame::OnUpdateExtractFile(command_ui& ui)
{
    ui.Enable(ExtractableFile().has_value());
}

void CMainFrame::OnExtractFile(std::uint32_t)
{
    const std::optional<string> name = ExtractableFile();
    if (!name)
        return;
    const HTREEITEM component_item = m_treeCtrl.GetParentItem(m_treeCtrl.GetSelectedItem());
    const automation::com_ptr<IDispatch> component = FindComponent(m_treeCtrl.GetItemText(component_item));
    if (!component)
        return;
    const automation::com_ptr<IDispatch> files = get(component.get(), media_component::Files);
    if (!files)
        return;
    // Before the dialog: a name that the library does not know is found out before a place is chosen.
    const automation::com_ptr<IDispatch> file = collection_item(files.get(), *name, component_files);
    save_question question;
    question.proposed_name = *name;
    question.overwrite_prompt = true;
    const std::optional<save_answer> target = Services().choose_file_to_save(question);
    if (!target)
        return;
    try {
        extract(file.get(), string(target->path));
    } catch (...) {
        Services().show_message(extraction_failed, message_icon::none);
    }
}

} // namespace cw
