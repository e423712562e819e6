// The record that joins a tree item to the library object that its list is read from.
#pragma once

#include "automation/dispatch.h"
#include "framework/tree_control.h"

#include <cstdint>
#include <map>

namespace cw {

using node_kind = std::int32_t;

inline constexpr node_kind NODEKIND_FEATURE = 0;
inline constexpr node_kind NODEKIND_COMPONENT = 1;
inline constexpr node_kind NODEKIND_COMPONENT_FILES = 2;
inline constexpr node_kind NODEKIND_SETUP_TYPE = 3;
inline constexpr node_kind NODEKIND_SETUP_TYPE_FEATURE = 4;
inline constexpr node_kind NODEKIND_SHELL_FOLDER = 5;
inline constexpr node_kind NODEKIND_REGISTRY_KEY = 6;
inline constexpr node_kind NODEKIND_REGISTRY_VALUES = 7;
inline constexpr node_kind NODEKIND_MEDIA_SETTINGS = 8;
inline constexpr node_kind NODEKIND_LOG_FEATURE = 9;
inline constexpr node_kind NODEKIND_LOG_FILE = 10;
inline constexpr node_kind NODEKIND_LOG_FILEREG = 11;
inline constexpr node_kind NODEKIND_LOG_REGISTRY = 12;
inline constexpr node_kind NODEKIND_LOG_INI = 13;
inline constexpr node_kind NODEKIND_LOG_SHELL = 14;
inline constexpr node_kind NODEKIND_LOG_GENERAL = 15;
inline constexpr node_kind NODEKIND_LOG_DOTNET = 16;
inline constexpr node_kind NODEKIND_SHELL_SHORTCUT = 17;

struct NavNode {
    node_kind kind = 0;
    /// The object that the node's presenter reads; null shows an empty list.
    automation::com_ptr<IDispatch> object;
};

using NavNodeMap = std::map<HTREEITEM, NavNode>;

} // namespace cw
