"""The seven views of a media, Expert Mode, and the keys that stand in no menu."""
import shutil
import unittest

from support import SAMPLE, MediaWindowTest, wait_for

OPEN_DIALOG = "^Open$"

# Mnemonic of the view, the way from the tree's first item to one that has a list, and its first row.
VIEWS = [
    ("f", ["Down"], "Name\tMain"),
    ("c", ["Down"], "Name\tFonts"),
    ("s", ["Down", "Right", "Down", "Right", "Down"], "Name\t<Data>"),
    ("o", ["Down", "Right", "Down"], "Shortcut Text\tThe Tour"),
    ("r", ["Down"], "Component(s)\t"),
    ("m", [], "Product Name\tThe Tour"),
    # All roots, collapsed: the sixth is that of the settings, which has none below it.
    ("a", ["Down"] * 5, "Product Name\tThe Tour"),
]


class Views(MediaWindowTest):
    def test_each_view_shows_its_subject(self):
        process = self.open()
        for mnemonic, way, row in VIEWS:
            with self.subTest(view=mnemonic):
                self.view(mnemonic)
                self.display.key("Home", *way)
                self.assertEqual(self.first_row(), row)
        self.close(process, "tour.hdr")
        self.assertEqual(self.errors(), "")

    def test_expert_mode_is_kept_over_a_restart(self):
        for mode, first_feature, leave_as in (("e", "Name\t<Data>", "Mode=1"), (None, "Name\t<Data>", "Mode=1"),
                                              ("e", "Name\tMain", "Mode=0")):
            process = self.open()
            if mode:
                self.view(mode)
            self.view("f")
            self.display.key("Home", "Down")
            self.assertEqual(self.first_row(), first_feature)
            self.close(process, "tour.hdr")
            self.assertIn(leave_as, self.settings())

    def test_keys_without_a_menu_item_of_their_own_open_a_file(self):
        other = self.folder / "other.hdr"
        shutil.copy(SAMPLE, other)
        self.open()
        for key in ("ctrl+o", "ctrl+shift+o", "ctrl+KP_Divide"):
            with self.subTest(key=key):
                self.display.key(key)
                self.display.window(OPEN_DIALOG)
                self.display.key("Escape")
                wait_for("the dialog to go", lambda: not self.display.windows(OPEN_DIALOG))
                # It was one dialog: the tree has the keys again.
                self.display.window("tour.hdr")
                self.display.key("Home")
                self.selected_row(in_list=False)
                self.assertEqual(self.display.windows(OPEN_DIALOG), [])
        self.display.key("ctrl+o")
        self.display.window(OPEN_DIALOG)
        self.display.type(str(other))
        self.display.key("Return")
        self.display.window("other.hdr")


if __name__ == "__main__":
    unittest.main()
