// The frame's coming up and going down, and the maps that route commands and notifications.

#include "app/main_frame.h"

#include "app/menus.h"
#include "app/view_filters.h"
#include "fileio/file_operations.h"
#include "foundation/resource_text.h"
#include "platform/services.h"

#include <array>

namespace cw {
namespace {

constexpr std::uint32_t CS_DBLCLKS = 8;
constexpr std::uint32_t FWS_ADDTOTITLE = 0x8000;
constexpr std::uint32_t status_bar_style = 0x56008200; // child, visible, clipped, at the bottom
constexpr std::uint32_t status_bar_id = 59393;
constexpr std::uint32_t child_visible = 0x50000000;
constexpr std::uint32_t splitter_id = 59648;
constexpr std::uint32_t tree_pane_id = 59648;
constexpr std::uint32_t list_pane_id = 59728;
constexpr std::uint32_t header_id = 0;
constexpr int tree_pane_width = 250;
constexpr int pane_size = 100;
constexpr int toolkit_theme = 16;

constexpr std::uint32_t tree_style = 0x37;           // buttons, lines, lines at root, no drag, selection always shown
constexpr std::uint32_t list_style = 5;              // report, single selection
constexpr std::uint32_t list_extended_style = 0x421; // grid lines, full row, info tips

constexpr image_list tree_image_strip{16, 16, 22};
constexpr image_list spacer_images{1, 1, 0};

constexpr std::u16string_view menu_bar_title = u"Menu Bar";
constexpr std::u16string_view command_bars_name = u"CommandBars";
constexpr std::u16string_view settings_section = u"Settings";
constexpr std::u16string_view settings_mode = u"Mode";

constexpr std::uint32_t VK_O = 0x4F;
constexpr std::uint32_t VK_S = 0x53;
constexpr std::uint32_t VK_F3 = 0x72;
constexpr std::uint32_t letter_case_bit = 0x20;

} // namespace

struct frame_maps {
    static constexpr auto commands = std::to_array<command_entry<CMainFrame>>({
        {ID_FILE_OPEN, ID_FILE_OPEN, &CMainFrame::OnFileOpen, nullptr},
        {ID_FILE_MRU_FIRST, ID_FILE_MRU_LAST, &CMainFrame::OnOpenRecentFile, nullptr},
        {ID_VIEW_ALL, ID_VIEW_ALL, &CMainFrame::OnViewFilter, &CMainFrame::OnUpdateViewFilter},
        {ID_VIEW_FEATURES, ID_VIEW_MEDIA_SETTINGS, &CMainFrame::OnViewFilter, &CMainFrame::OnUpdateViewFilter},
        {ID_VIEW_EXPERT_MODE, ID_VIEW_EXPERT_MODE, &CMainFrame::OnExpertMode, &CMainFrame::OnUpdateExpertMode},
        {ID_EDIT_COPY_ROW, ID_EDIT_COPY_ROW, &CMainFrame::OnCopy, &CMainFrame::OnUpdateCopy},
        {ID_FILE_SAVE, ID_FILE_SAVE, &CMainFrame::OnSave, nullptr},
        {ID_TOOLS_REPORT, ID_TOOLS_REPORT, &CMainFrame::OnReport, &CMainFrame::OnUpdateCopy},
        {ID_SEARCH_FIND, ID_SEARCH_FIND, &CMainFrame::OnFind, &CMainFrame::OnUpdateFind},
        {ID_SEARCH_FIND_NEXT, ID_SEARCH_FIND_NEXT, &CMainFrame::OnFindNext, &CMainFrame::OnUpdateFindNext},
        {ID_HELP_TOPIC, ID_HELP_TOPIC, &CMainFrame::OnHelp, &CMainFrame::OnUpdateHelp},
        {ID_CUSTOMIZE, ID_CUSTOMIZE, &CMainFrame::OnCustomize, nullptr},
        {ID_TOOLS_EXTRACT, ID_TOOLS_EXTRACT, &CMainFrame::OnExtractFile, &CMainFrame::OnUpdateExtractFile},
    });

    static constexpr auto notifications = std::to_array<notification_entry<CMainFrame>>({
        {TVN_SELCHANGEDW, tree_pane_id, &CMainFrame::OnTreeSelectionChanged},
        {NM_RCLICK, list_pane_id, &CMainFrame::OnListRightClick},
        {HDN_ITEMCLICKW, header_id, &CMainFrame::OnHeaderClick},
    });

    /// Key-downs that run a command before the accelerators see them, whatever else is held and whether
    /// or not the command is enabled. For letters bit 5 of the key code is not looked at, as if a key
    /// code were a character: Ctrl with the numeric keypad's slash opens a file, Ctrl+F4 saves.
    struct filtered_key {
        std::uint32_t virtual_key;
        bool is_letter;
        bool needs_control;
        std::uint32_t command_id;
    };
    static constexpr auto filtered_keys = std::to_array<filtered_key>({
        {VK_F3, false, false, ID_SEARCH_FIND_NEXT},
        {VK_O, true, true, ID_FILE_OPEN},
        {VK_S, true, true, ID_FILE_SAVE},
    });
};

CMainFrame::CMainFrame(frame_toolkit& toolkit, frame_services& services, CRecentFileList& recent_files)
    : CXTPFrameWnd(toolkit, services), m_recentFiles(recent_files), m_viewFilter(view_filter_all)
{
}

CMainFrame::~CMainFrame() = default;

bool CMainFrame::PreCreateWindow(frame_create_parameters& parameters)
{
    if (!CXTPFrameWnd::PreCreateWindow(parameters))
        return false;
    parameters.class_name = u"XTPMainFrame";
    parameters.class_style = CS_DBLCLKS;
    parameters.icon_id = IDR_MAINFRAME;
    // The title is written by the frame itself.
    parameters.style &= ~FWS_ADDTOTITLE;
    return true;
}

bool CMainFrame::OnCreateClient()
{
    frame_toolkit& toolkit = Toolkit();
    if (!toolkit.create_splitter(1, 2, child_visible, splitter_id))
        return false;
    if (!toolkit.create_tree_view(0, 0, tree_pane_width, pane_size, m_treeCtrl) ||
        !toolkit.create_list_view(0, 1, pane_size, pane_size, m_listCtrl)) {
        toolkit.destroy_splitter();
        return false;
    }
    return true;
}

int CMainFrame::OnCreate()
{
    constexpr int refused = -1;
    frame_toolkit& toolkit = Toolkit();
    if (CXTPFrameWnd::OnCreate() == refused)
        return refused;
    SetTitle(resource_text(IDR_MAINFRAME));
    if (!toolkit.create_status_bar(status_bar_style, status_bar_id))
        return refused;
    toolkit.add_status_indicator(0, 0);
    if (!toolkit.init_command_bars() || !SetMenu(menu_bar_title, main_menu()))
        return refused;
    toolkit.set_theme(toolkit_theme);
    SetAccelerators(main_accelerators());
    LoadCommandBars(command_bars_name);

    m_pTreePane = &m_treeCtrl;
    m_pListPane = &m_listCtrl;
    Adopt(m_treeCtrl);
    Adopt(m_listCtrl);
    m_treeImages = tree_image_strip;
    m_treeCtrl.SetImages(&m_treeImages);
    m_spacerImages = spacer_images;
    m_listCtrl.SetNormalImages(&m_spacerImages);
    m_pListPane->set_control_id(list_pane_id);
    // The map's entry for a changed selection names this id.
    m_pTreePane->set_control_id(tree_pane_id);
    m_treeCtrl.add_style(tree_style);
    m_listCtrl.add_style(list_style);
    m_listCtrl.set_extended_style(list_extended_style);
    SetListColumns(NODEKIND_FEATURE);
    m_expertMode = platform::current().user->read_number(settings_section, settings_mode, 0) != 0;
    return 0;
}

void CMainFrame::OnClose()
{
    if (!m_reportPath.empty())
        delete_file(m_reportPath);
    SaveCommandBars(command_bars_name);
    platform::current().user->write_number(settings_section, settings_mode, m_expertMode ? 1 : 0);
    CXTPFrameWnd::OnClose();
}

bool CMainFrame::OnCmdMsg(std::uint32_t id, command_ui* ui)
{
    const auto* entry = find_command<CMainFrame>(frame_maps::commands, id);
    if (!entry || (!ui && !entry->handler))
        return m_nextTarget && m_nextTarget(id, ui);
    if (!ui)
        (this->*entry->handler)(id);
    else if (entry->update)
        (this->*entry->update)(*ui);
    else
        ui->Enable();
    return true;
}

void CMainFrame::OnNotify(std::uint32_t control_id, std::uint32_t code)
{
    for (const auto& entry : frame_maps::notifications)
        if (entry.control_id == control_id && entry.code == code)
            (this->*entry.handler)();
}

std::uint32_t CMainFrame::FilteredCommand(const key_message& key) const noexcept
{
    for (const auto& entry : frame_maps::filtered_keys) {
        const std::uint32_t ignored_bits = entry.is_letter ? letter_case_bit : 0;
        const bool matches = ((key.virtual_key - entry.virtual_key) & ~ignored_bits) == 0;
        if (matches && (key.control || !entry.needs_control))
            return entry.command_id;
    }
    return 0;
}

bool CMainFrame::PreTranslateMessage(const key_message& key)
{
    if (const std::uint32_t command = FilteredCommand(key))
        OnCmdMsg(command, nullptr);
    return CXTPFrameWnd::PreTranslateMessage(key);
}

} // namespace cw
