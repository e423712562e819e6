"""The list of a media: sorting, copying and its context menu, by mouse and by keys."""
import os
import unittest
from pathlib import Path

from support import MediaWindowTest, wait_for

HELP_PAGES = Path(os.environ["CW_SOURCE_DIR"]) / "resources" / "samples" / "tour" / "help"
HELP_PAGES_ROW = 2  # below the root of the components
NAME_COLUMN_WIDTH = 200


def help_pages():
    """Name and size of each file, in the order of the media."""
    files = sorted(file for file in HELP_PAGES.rglob("*") if file.is_file())
    return [("\\".join(file.relative_to(HELP_PAGES).parts), str(file.stat().st_size)) for file in files]


class List(MediaWindowTest):
    def setUp(self):
        super().setUp()
        self.process = self.open()
        self.select_files(HELP_PAGES_ROW)

    def names(self, *rows):
        """Names of rows; the list has the focus."""
        return [self.row(row).split("\t")[0] for row in rows]

    def click_header(self, column_offset):
        self.display.key("Home")
        left, top, _, bottom = self.selected_row(in_list=True)
        before = self.display.picture()
        self.display.click(left + column_offset + 20, top - (bottom - top) // 2 - 1)
        self.changed_picture(before)

    def test_a_header_sorts_up_and_then_down(self):
        files = help_pages()
        by_size = [name for name, size in sorted(files, key=lambda file: file[1])]
        last = len(files) - 1
        self.display.key("Tab")
        self.assertEqual(self.names(0, 1), [files[0][0], files[1][0]])
        self.click_header(NAME_COLUMN_WIDTH)
        self.assertEqual(self.names(0, 1, last), [by_size[0], by_size[1], by_size[last]])
        self.click_header(NAME_COLUMN_WIDTH)
        self.assertEqual(self.names(0, 1, last), [by_size[last], by_size[last - 1], by_size[0]])

        # Another selection and back: the order of the media again.
        self.display.key("Tab", "Up", "Down", "Tab")
        self.assertEqual(self.names(0), [files[0][0]])

    def test_a_key_sorts_too(self):
        by_size = [name for name, size in sorted(help_pages(), key=lambda file: file[1])]
        self.display.key("Tab", "ctrl+2")
        self.assertEqual(self.names(0), by_size[:1])
        self.display.key("ctrl+2")
        self.assertEqual(self.names(0), by_size[-1:])

    def test_the_context_menu_copies_the_row_under_the_pointer(self):
        self.display.key("Tab", "Home")
        left, top, _, bottom = self.selected_row(in_list=True)
        third_row = top + 2 * (bottom - top + 1) + (bottom - top) // 2
        self.display.put_on_clipboard("before")
        self.display.click(left + 60, third_row, button=3)
        wait_for("the menu's row to be selected",
                 lambda: (row := self.find_selected_row(in_list=True)) and row[1] > top)
        self.display.key("c")
        wait_for("the row on the clipboard", lambda: self.display.clipboard() != "before")
        name, size = help_pages()[2]
        cells = self.display.clipboard().split("\t")
        self.assertEqual(cells[:2], [name, size])
        self.assertEqual(cells[3:5], ["05/17/2024 09:30:00 AM", "3.2"])
        self.assertEqual(len(cells), 7)
        self.assertNotIn("\n", cells[6])

    def test_the_menu_key_copies_the_selected_row(self):
        self.display.key("Tab", "Home", "Down")
        for key in ("Menu", "shift+F10"):
            self.assertEqual(self.copied(key, "Return").split("\t")[0], help_pages()[1][0], key)

    def test_there_is_no_context_menu_without_a_selected_row(self):
        self.display.key("Tab", "Home")
        left, top, _, bottom = self.selected_row(in_list=True)
        below_all_rows = top + (len(help_pages()) + 2) * (bottom - top + 1)
        self.display.put_on_clipboard("untouched")
        self.display.click(left + 60, below_all_rows, button=3)
        wait_for("the selection to go", lambda: not self.find_selected_row(in_list=True))
        self.display.key("shift+F10", "Return")
        # An open menu would keep these keys from the list.
        self.display.key("Down", "Down")
        wait_for("the second row", lambda: (row := self.find_selected_row(in_list=True)) and row[1] > top)
        self.assertEqual(self.display.clipboard(), "untouched")

    def test_an_item_of_the_tree_is_selected_by_a_click(self):
        left, top, _, bottom = self.selected_row(in_list=False)
        height = bottom - top + 1
        # The component above its Files item: the list shows its properties.
        self.display.click(left + 90, top - height // 2)
        wait_for("the item above", lambda: (row := self.find_selected_row(in_list=False)) and row[1] < top)
        self.assertEqual(self.first_row(), "Name\tHelp Pages")


if __name__ == "__main__":
    unittest.main()
