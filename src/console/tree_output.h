// The tree as the companion prints it: lines for people, JSON for programs.
#pragma once

#include "media/nav_node.h"

#include <iosfwd>

namespace cw {

class CMainFrame;

namespace console {

/// One line an item, each level indented by two blanks. Control characters come out as U+FFFD, so
/// that a name cannot steer the terminal.
void print_tree(std::ostream& out, const CTreeCtrl& tree);

/// The array of roots: {"text", "kind", "images", "expanded", "children"} an item.
void write_tree_json(std::ostream& out, const CTreeCtrl& tree, const NavNodeMap& nodes);
/// The same as a line of its own.
void print_tree_json(std::ostream& out, const CTreeCtrl& tree, const NavNodeMap& nodes);

} // namespace console
} // namespace cw
