"""Help as a person reads it: from the menu, by keys, in the language that is there, or its own message."""
import shutil
import unittest

from support import BUILD, NOTHING_COPIED, SAMPLE, WindowTest, run, wait_for

HELP = "Cratewright Help$"
PLACE = "Program/0409/HelpLib.chm"
START = "helplibrary/CwCabView.htm"


class HelpTest(WindowTest):
    def ask_for_help(self, main_window):
        """Chooses Help in the menu; its window is in front then."""
        self.display.window(main_window)
        self.display.key("alt+h", "Return")
        return self.display.window(HELP)

    def page(self):
        """The text of the page that is shown."""
        self.display.put_on_clipboard(NOTHING_COPIED)

        def copied():
            self.display.key("ctrl+a", "ctrl+c")
            text = self.display.clipboard()
            return text if text != NOTHING_COPIED else None
        return wait_for("the text of the page", copied)


class BuiltHelp(HelpTest):
    def setUp(self):
        super().setUp()
        self.process = self.start(SAMPLE)

    def test_is_read_by_keys(self):
        self.ask_for_help("tour.hdr")
        self.display.key("Tab", "Return")
        self.display.window("^Opening files .*" + HELP)
        self.assertIn("Four ways to open", self.page())
        self.display.key("alt+Left")
        self.display.window("^Cratewright Cabinet and Log File Viewer .*" + HELP)
        self.assertIn("The viewer shows what an installer leaves behind", self.page())
        self.display.key("alt+Right")
        self.display.window("^Opening files .*" + HELP)
        self.display.key("alt+Home")
        self.display.window("^Cratewright Cabinet and Log File Viewer .*" + HELP)

    def test_is_one_window_with_keys_of_its_own(self):
        first = self.ask_for_help("tour.hdr")
        # They would open dialogs of the other window.
        self.display.key("ctrl+o", "ctrl+s", "F3", "Escape")
        self.assertEqual(self.display.windows("^(Open|Save As)$"), [])
        self.assertEqual(self.ask_for_help("tour.hdr"), first)
        self.assertEqual(self.display.windows(HELP), [first])

    def test_escape_closes_it_and_the_viewer_stays(self):
        self.ask_for_help("tour.hdr")
        self.display.key("Escape")
        wait_for("the end of the help", lambda: not self.display.windows(HELP))
        self.close(self.process, "tour.hdr")

    def test_closes_with_the_viewer(self):
        self.ask_for_help("tour.hdr")
        self.close(self.process, "tour.hdr")
        self.assertEqual(self.display.windows(HELP), [])
        self.assertEqual(self.errors(), "")

    def test_finds_a_text(self):
        self.ask_for_help("tour.hdr")
        before = self.display.picture()
        self.display.key("ctrl+f")
        before = self.changed_picture(before)
        self.display.type("expert mode")
        self.changed_picture(before)
        self.display.key("Escape")
        self.display.put_on_clipboard(NOTHING_COPIED)
        self.display.key("ctrl+c")
        wait_for("the found text", lambda: self.display.clipboard() == "Expert Mode")


class InstalledHelp(HelpTest):
    """Help of an installation, whose folder also has the number of the first language in its name."""

    def setUp(self):
        super().setUp()
        self.prefix = self.folder / "of 0409"
        installed = run("cmake", "--install", BUILD, "--prefix", self.prefix, timeout=300)
        self.assertEqual(installed.returncode, 0, installed.stderr)

    def help(self):
        process = self.start(SAMPLE, program=self.prefix / "bin/cwcabview")
        self.ask_for_help("tour.hdr")
        text = self.page()
        self.close(process, "tour.hdr")
        return text

    def test_is_shown_where_it_was_put(self):
        self.assertIn("The viewer shows what an installer leaves behind", self.help())

    def test_the_second_language_is_taken_where_the_first_is_missing(self):
        # Its number replaces that of the first in the whole path.
        other = self.folder / "of 0411" / "Program/0411/HelpLib.chm"
        shutil.move(self.prefix / PLACE, other)
        (other / START).write_text("<title>Hilfe</title><p>\u30d8\u30eb\u30d7</p>", encoding="utf-8")
        self.assertEqual(self.help().strip(), "\u30d8\u30eb\u30d7")

    def test_with_neither_the_window_tells_what_was_looked_for(self):
        shutil.rmtree(self.prefix / PLACE)
        text = self.help()
        self.assertIn("The help is not there", text)
        self.assertIn(f"{self.folder}/of 0411/Program/0411/HelpLib.chm::/{START}", text)

    def test_a_page_that_cannot_be_shown_is_told(self):
        (self.prefix / PLACE / START).write_bytes(b"caf\xe9")
        self.assertIn("not a text in UTF-8", self.help())


if __name__ == "__main__":
    unittest.main()
