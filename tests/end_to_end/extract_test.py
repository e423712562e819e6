"""Files out of a media through the window: the save dialog, its answers, and what goes wrong."""
import os
import shutil
import unittest
from pathlib import Path

from support import SAMPLE, MediaWindowTest, wait_for

APPLICATION = "Cratewright Cabinet and Log File Viewer"
SAVE_DIALOG = "^Save As$"
TOUR = Path(os.environ["CW_SOURCE_DIR"]) / "resources" / "samples" / "tour"
HELP_PAGES_ROW = 2  # below the root of the components
FAILED = ("An error occurred extracting the file. Please verify all setup cab files are present in the source "
          "folder.")


class Extract(MediaWindowTest):
    def select_file(self, row):
        self.select_files(HELP_PAGES_ROW)
        self.display.key("Tab", "Home", *["Down"] * row)

    def ask_for_the_place(self):
        self.display.key("alt+t", "e")
        self.display.window(SAVE_DIALOG)

    def answer(self, path):
        self.display.key("ctrl+a")
        self.display.type(str(path))
        self.display.key("Return")

    def wait_for_file(self, path, source):
        wait_for(f"the file {path}", lambda: path.exists() and path.stat().st_size == source.stat().st_size)
        self.assertEqual(path.read_bytes(), source.read_bytes())
        wait_for("the dialog to go", lambda: not self.display.windows(SAVE_DIALOG))

    def test_a_file_goes_where_the_person_says(self):
        process = self.open()
        places = self.folder / "places"
        places.mkdir()
        self.select_file(0)
        self.ask_for_the_place()
        self.answer(places / "page.html")
        self.wait_for_file(places / "page.html", TOUR / "help" / "index.html")

        # The next is proposed by the last part of its name, in the same folder.
        self.display.key("Down")
        self.ask_for_the_place()
        self.display.key("Return")
        self.wait_for_file(places / "bridge.html", TOUR / "help" / "stops" / "bridge.html")

        self.display.key("Down")
        self.ask_for_the_place()
        self.display.key("Escape")
        wait_for("the dialog to go", lambda: not self.display.windows(SAVE_DIALOG))
        self.assertEqual(sorted(file.name for file in places.iterdir()), ["bridge.html", "page.html"])
        self.close(process, "tour.hdr")
        self.assertEqual(self.errors(), "")

    def test_a_file_that_is_there_is_asked_about(self):
        target = self.folder / "mine.html"
        target.write_text("mine", encoding="utf-8")
        self.open()
        self.select_file(0)
        self.ask_for_the_place()
        self.answer(target)
        wait_for("the question", lambda: len(self.display.windows(SAVE_DIALOG)) == 2)
        self.display.key("alt+n")
        wait_for("the question to go", lambda: len(self.display.windows(SAVE_DIALOG)) == 1)
        self.assertEqual(target.read_text(encoding="utf-8"), "mine")
        self.display.window(SAVE_DIALOG)
        self.display.key("alt+s")
        wait_for("the question", lambda: len(self.display.windows(SAVE_DIALOG)) == 2)
        self.display.key("alt+y")
        self.wait_for_file(target, TOUR / "help" / "index.html")

    def test_a_missing_volume_is_told(self):
        shutil.copy(SAMPLE, self.folder)
        process = self.open(self.folder / "tour.hdr")
        target = self.folder / "out.html"
        self.select_file(0)
        self.ask_for_the_place()
        self.answer(target)
        self.display.window(APPLICATION)
        self.assertEqual(self.copied("shift+Tab", "ctrl+a", "ctrl+c"), FAILED)
        self.display.key("Escape")
        wait_for("the box to go", lambda: not self.display.windows(APPLICATION))
        self.assertFalse(target.exists())
        # The window is as it was: the same row is still there to be copied.
        self.display.window("tour.hdr")
        self.assertTrue(self.copied("shift+F10", "Return").startswith("index.html\t"))
        self.close(process, "tour.hdr")
        self.assertEqual(self.errors(), "")

    def test_nothing_is_extracted_from_a_row_of_properties(self):
        self.open()
        self.view("c")
        self.display.key("Home", "Down", "Tab", "Home")
        self.display.key("alt+t", "e", "Escape", "Escape")
        self.assertTrue(self.copied("shift+F10", "Return").startswith("Name\t"))
        self.assertEqual(self.display.windows(SAVE_DIALOG), [])


if __name__ == "__main__":
    unittest.main()
