// The one window of the program and the holder of all that lasts longer than a command: the
// session, the node map, the view filter, the two controls. A table of contents by subject; the
// operations of a subject stand in the files named beside it.
#pragma once

#include "automation/unknown.h"
#include "bridges/log_interface.h"
#include "foundation/string.h"
#include "framework/cstring.h"
#include "framework/frame_window.h"
#include "framework/list_control.h"
#include "framework/office_border.h"
#include "framework/tree_control.h"
#include "media/column_sets.h"
#include "media/nav_node.h"
#include "platform/services.h"
#include "search/text_matcher.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <span>
#include <string_view>

namespace cw {

class CRecentFileList;

class CMainFrame final : public CXTPFrameWnd {
public:
    /// `recent_files` is the application's list, borrowed; it must outlive the frame.
    CMainFrame(frame_toolkit& toolkit, frame_services& services, CRecentFileList& recent_files);
    ~CMainFrame() override;

    // ---- the session: app/session.cpp ---------------------------------------------------------
    /// Opens a media or a log, by the text of the path, in place of what is open. True when the
    /// input is open, and for a log always.
    bool OpenFile(const string& path);
    /// 0 when `m_media` is set, 142 where a password is needed, a negative activation result, or
    /// another number of the library.
    std::int32_t OpenMedia(const string& path, const string& password);
    /// The answer is looked at by nobody.
    std::int32_t OpenLog(const string& path);
    void OnFileOpen(std::uint32_t id);
    void OnOpenRecentFile(std::uint32_t id);

    // ---- the view: app/view_commands.cpp, app/selection_dispatch.cpp --------------------------
    void RebuildTree();
    void OnViewFilter(std::uint32_t id);
    void OnUpdateViewFilter(command_ui& ui);
    void OnExpertMode(std::uint32_t id);
    void OnUpdateExpertMode(command_ui& ui);
    void OnTreeSelectionChanged();

    // ---- the list: app/list_commands.cpp ------------------------------------------------------
    void OnCopy(std::uint32_t id);
    void OnUpdateCopy(command_ui& ui);
    void OnListRightClick();
    void OnHeaderClick();

    // ---- nodes, rows and columns: media/navigator.cpp -----------------------------------------
    /// Inserts a tree item with the images of its kind and text and stores its node.
    HTREEITEM InsertNavNode(HTREEITEM parent, const string& text, const NavNode& node);
    void AddPropertyRow(std::size_t row, std::uint32_t label_id, const string& value);
    void AddPropertyRow(std::size_t row, const string& label, const string& value);
    void AddYesNoRow(std::size_t row, std::uint32_t label_id, bool flag);
    /// Replaces the list's columns with those of a kind and empties it; a kind without an entry
    /// leaves the list as it is.
    void SetListColumns(node_kind kind);

    // ---- media trees: media/feature_tree.cpp, media/component_tree.cpp ------------------------
    void BuildFeatureTree();
    void AddFeatures(HTREEITEM parent, IDispatch* features);
    void BuildComponentTree();
    void AddComponents(HTREEITEM parent, IDispatch* components);

    // media/setup_type_tree.cpp, media/shell_tree.cpp, media/registry_tree.cpp, media/media_settings.cpp
    void BuildSetupTypeTree();
    void AddSetupTypeFeatures(HTREEITEM parent, IDispatch* features);
    void BuildShellTree();
    void AddShellFolders(HTREEITEM parent, IDispatch* folders);
    void BuildRegistryTree();
    void AddRegistrySets(HTREEITEM parent, IDispatch* sets);
    /// Turns the keys of one hive into a hierarchy under its item.
    void AddRegistryKeys(HTREEITEM parent, IDispatch* keys);
    void BuildMediaSettingsNode();

    // ---- media presenters: media/*_properties.cpp, media/media_settings.cpp, media/file_rows.cpp
    void ShowFeature(HTREEITEM item);
    void ShowComponent(HTREEITEM item);
    void ShowComponentFiles(HTREEITEM item);
    void ShowShellObject(HTREEITEM item);
    void ShowRegistryNode(HTREEITEM item);
    void ShowMediaSettings(HTREEITEM item);

    // ---- the tree of a log: log/log_tree.cpp --------------------------------------------------
    /// Builds the tree of the open log below its top item; nothing without one.
    void PopulateLogTree();
    /// Adds the features of a collection, each with its groups of operations and what is below it.
    void AddSubFeatures(HTREEITEM parent, IFeatureLogCollection* features);
    /// Adds a node for each type of operations that the feature has.
    void AddOperationGroups(HTREEITEM item, IFeatureLog* feature);

    // ---- log presenters: log/feature_log_properties.cpp, log/operation_rows.cpp ---------------
    // Each replaces columns and rows by what the item's feature has of one sort.
    void ShowFeatureLogProperties(HTREEITEM item);
    void ShowFileOperations(HTREEITEM item);
    void ShowSelfRegistrationOperations(HTREEITEM item);
    /// Both registry types in one list: the wide side's rows above those of the narrow one.
    void ShowBothRegistryOperations(HTREEITEM item);
    /// Adds the rows of one of the two registry types above those that are there.
    void ShowRegistryOperations(std::u16string_view type_name, HTREEITEM item);
    void ShowIniOperations(HTREEITEM item);
    void ShowShellOperations(HTREEITEM item);
    void ShowGeneralOperations(HTREEITEM item);
    void ShowDotNetOperations(HTREEITEM item);

    // ---- the report of a log: log/log_report.cpp ----------------------------------------------
    /// Writes the open log as a text to `path`, in place of what is there: UTF-16 without a mark.
    /// Nothing where nothing was opened. A file that cannot be made or written is told to nobody; an
    /// error of the library is thrown, and ends the report behind the last whole section.
    void WriteLogReport(const string& path);
    /// Writes the sections of a feature and of everything below it.
    void WriteFeatureSection(IFeatureLog* feature, const string& parent_name, platform::file_handle file);
    void AppendFeatureProperties(IFeatureLog* feature, string& text);
    void AppendFeatureOperations(IFeatureLog* feature, string& text);
    void AppendOperationRows(IOperationList* operations, string& text);

    // ---- report and save: log/report_commands.cpp ---------------------------------------------
    void OnReport(std::uint32_t id);
    void OnSave(std::uint32_t id);
    /// The report that the library of the open media has composed.
    [[nodiscard]] string MediaReport() const;

    // ---- find: search/find_commands.cpp, search/search_walk.cpp -------------------------------
    void OnFind(std::uint32_t id);
    void OnUpdateFind(command_ui& ui);
    /// Goes on from the selected row and item to the next place that holds the search text, selects it,
    /// and tells when there is none.
    void OnFindNext(std::uint32_t id);
    void OnUpdateFindNext(command_ui& ui);
    /// Whether the item or anything below it matched; what matched is selected then.
    bool SearchNode(HTREEITEM item);
    bool SearchFeatureProperties(IFeatureLog* feature);
    /// A record that matches stays locked.
    bool SearchOperationRecords(IOperationList* operations);
    /// Searches what follows the item in the tree, level by level upwards.
    bool SearchFollowingNodes(HTREEITEM item);

    // ---- help and customising: app/help_command.cpp, app/customize_command.cpp ----------------
    void OnHelp(std::uint32_t id);
    void OnUpdateHelp(command_ui& ui);
    void OnCustomize(std::uint32_t id);

    // ---- the one way out of a media: media/extract_file.cpp -----------------------------------
    void OnExtractFile(std::uint32_t id);
    void OnUpdateExtractFile(command_ui& ui);

    // ---- keys: app/main_frame.cpp --------------------------------------------------------------
    [[nodiscard]] std::uint32_t FilteredCommand(const key_message& key) const noexcept override;

    // ---- read by window, companion and tests --------------------------------------------------
    [[nodiscard]] CTreeCtrl& Tree() noexcept { return m_treeCtrl; }
    [[nodiscard]] CListCtrl& List() noexcept { return m_listCtrl; }
    [[nodiscard]] const NavNodeMap& NavNodes() const noexcept { return m_navNodes; }
    [[nodiscard]] bool ExpertMode() const noexcept { return m_expertMode; }
    [[nodiscard]] std::u16string_view ViewFilter() const noexcept { return m_viewFilter; }
    [[nodiscard]] const string& OpenPath() const noexcept { return m_openPath; }
    [[nodiscard]] const image_list& TreeImages() const noexcept { return m_treeImages; }
    [[nodiscard]] const image_list& SpacerImages() const noexcept { return m_spacerImages; }
    [[nodiscard]] CRecentFileList& RecentFiles() noexcept { return m_recentFiles; }
    [[nodiscard]] bool HasMedia() const noexcept { return static_cast<bool>(m_media); }
    /// The open media and the library's entry object, borrowed; null where there is none.
    [[nodiscard]] IDispatch* Media() const noexcept { return m_media.get(); }
    [[nodiscard]] IDispatch* MediaFactory() const noexcept { return m_mediaFactory.get(); }
    /// Whether the open log's main feature was read.
    [[nodiscard]] bool HasLog() const noexcept { return static_cast<bool>(m_rootFeatureLog); }

    [[nodiscard]] bool HasMediaFactory() const noexcept { return static_cast<bool>(m_mediaFactory); }
    /// Whether the log library's entry object is there; it is from a log's open to the next open.
    [[nodiscard]] bool HasLogLoader() const noexcept { return static_cast<bool>(m_logLoader); }
    /// The log library's entry object, borrowed; null where there is none.
    [[nodiscard]] ILogLoader* LogLoader() const noexcept { return m_logLoader.get(); }

    /// Gets the commands that the frame has no entry for; answers whether it took one.
    using command_target = std::function<bool(std::uint32_t id, command_ui* ui)>;
    void SetNextTarget(command_target target) { m_nextTarget = std::move(target); }

protected:
    // ---- creation and routing: app/main_frame.cpp ---------------------------------------------
    bool PreCreateWindow(frame_create_parameters& parameters) override;
    bool OnCreateClient() override;
    int OnCreate() override;
    void OnClose() override;
    bool OnCmdMsg(std::uint32_t id, command_ui* ui) override;
    void OnNotify(std::uint32_t control_id, std::uint32_t code) override;
    bool PreTranslateMessage(const key_message& key) override;

private:
    friend struct frame_maps;
    friend struct frame_access; // tests look at members that have no reader

    /// Writes the section of one feature.
    void WriteSectionOf(IFeatureLog* feature, const string& parent_name, platform::file_handle file);
    bool OpenLogFile(const string& path);
    bool OpenMediaFile(const string& path, const automation::com_ptr<IDispatch>& previous_media);
    void ReportOpenError();
    void ClearTreeAndList();
    /// The feature whose log a node shows. E_POINTER where it shows none.
    [[nodiscard]] automation::com_ptr<IFeatureLog> FeatureLogOf(HTREEITEM item);
    /// A root item with the text of a string resource and no node.
    HTREEITEM InsertRoot(std::uint32_t label_id, tree_item_images images);
    /// Selects the first row from `first_row` on that holds the search text in one of its first
    /// `column_limit` columns, and gives the list the focus. False where there is none.
    static constexpr std::size_t every_column = static_cast<std::size_t>(-1);
    bool SelectMatchingRow(std::size_t first_row, std::size_t column_limit);
    /// Searches one item by itself; `is_feature` tells whether what is below it is of any interest.
    bool SearchItem(HTREEITEM item, bool& is_feature);
    [[nodiscard]] bool IsFilesItem(HTREEITEM item) const;
    /// Name of the file whose row is selected; none where there is nothing to extract.
    [[nodiscard]] std::optional<string> ExtractableFile() const;
    /// The component of a name; null where the library knows none or fails to look.
    [[nodiscard]] automation::com_ptr<IDispatch> FindComponent(std::u16string_view name);

    CRecentFileList& m_recentFiles;
    command_target m_nextTarget;

    // In the order in which they are made; destruction runs the other way.
    control_window* m_pTreePane = nullptr;
    control_window* m_pListPane = nullptr;
    // Made and destroyed with the frame; they are never given a window.
    CXTPOfficeBorder<CStatic> m_borderStatic;
    CXTPOfficeBorder<CEdit> m_borderEdit;
    automation::com_ptr<ILogLoader> m_logLoader;
    automation::com_ptr<ILogDocument> m_logDocument;
    automation::com_ptr<IFeatureLog> m_rootFeatureLog;
    automation::com_ptr<IDispatch> m_mediaFactory;
    automation::com_ptr<IDispatch> m_media;
    bool m_expertMode = false;
    NavNodeMap m_navNodes;
    string m_reportPath;
    string m_openPath;
    CString m_findText;
    CString m_viewFilter;
    text_matcher m_findMatcher; // what `m_findText` was at the last Find Next
    HTREEITEM m_findAnchor;
    CListCtrl m_listCtrl;
    CTreeCtrl m_treeCtrl;
    image_list m_treeImages;
    image_list m_spacerImages;
};

} // namespace cw
