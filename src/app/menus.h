// Menus, accelerators and the numbers of commands and resources.
#pragma once

#include "framework/commands.h"

#include <cstdint>
#include <span>

namespace cw {

inline constexpr std::uint32_t IDR_MAINFRAME = 128;
inline constexpr std::uint32_t IDR_LIST_CONTEXT_MENU = 281;
inline constexpr std::uint32_t AFX_IDS_APP_TITLE = 57344;

inline constexpr std::uint32_t ID_FILE_OPEN = 57601;
inline constexpr std::uint32_t ID_FILE_SAVE = 57603;
inline constexpr std::uint32_t ID_FILE_MRU_FIRST = 57616;
inline constexpr std::uint32_t ID_FILE_MRU_LAST = 57631;
inline constexpr std::uint32_t ID_APP_ABOUT = 57664;
inline constexpr std::uint32_t ID_APP_EXIT = 57665;
inline constexpr std::uint32_t ID_VIEW_ALL = 32801;
inline constexpr std::uint32_t ID_VIEW_FEATURES = 32772;
inline constexpr std::uint32_t ID_VIEW_COMPONENTS = 32773;
inline constexpr std::uint32_t ID_VIEW_SETUP_TYPES = 32774;
inline constexpr std::uint32_t ID_VIEW_SHELL_OBJECTS = 32775;
inline constexpr std::uint32_t ID_VIEW_REGISTRY_SETS = 32776;
inline constexpr std::uint32_t ID_VIEW_MEDIA_SETTINGS = 32777;
inline constexpr std::uint32_t ID_VIEW_EXPERT_MODE = 32778;
inline constexpr std::uint32_t ID_TOOLS_EXTRACT = 32779;
inline constexpr std::uint32_t ID_TOOLS_REPORT = 32780;
inline constexpr std::uint32_t ID_SEARCH_FIND = 32784;
inline constexpr std::uint32_t ID_SEARCH_FIND_NEXT = 32785;
inline constexpr std::uint32_t ID_EDIT_COPY_ROW = 32803;
inline constexpr std::uint32_t ID_HELP_TOPIC = 32806;
inline constexpr std::uint32_t ID_CUSTOMIZE = 35001;

/// Menu 128, the frame's.
[[nodiscard]] std::span<const menu_item> main_menu() noexcept;
/// The popup of menu 281, the list's context menu.
[[nodiscard]] std::span<const menu_item> list_context_menu() noexcept;
/// Accelerator table 128.
[[nodiscard]] std::span<const accelerator> main_accelerators() noexcept;

} // namespace cw
