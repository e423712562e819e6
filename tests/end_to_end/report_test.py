"""Reports out of a real window: what it hands to the desktop, what it saves, and what it takes away."""
import os
import stat
import unittest

from support import CWCAB, SAMPLE, SAMPLE_LOG, MediaWindowTest, run, wait_for

SAVE_DIALOG = "^Save As$"
# Stands in the place of the desktop's opener and writes down what it is given.
OPENER = '#!/bin/sh\nprintf "%s\\n" "$1" >> "{record}"\n'


class Reports(MediaWindowTest):
    def setUp(self):
        super().setUp()
        self.record = self.folder / "opened"
        self.record.touch()
        programs = self.folder / "programs"
        programs.mkdir()
        opener = programs / "xdg-open"
        opener.write_text(OPENER.format(record=self.record), encoding="utf-8")
        opener.chmod(0o755)
        self.temporary = self.folder / "temporary"
        self.temporary.mkdir()
        self.environment |= {"PATH": f"{programs}{os.pathsep}{os.environ['PATH']}", "TMPDIR": str(self.temporary)}

    def expected(self, file):
        """The bytes that the companion writes."""
        target = self.folder / "expected.txt"
        self.assertEqual(run(CWCAB, "report", file, "-o", target).returncode, 0)
        return target.read_bytes()

    def opened(self, count):
        """Waits until the desktop was given so many files; their paths."""
        lines = wait_for(f"{count} opened files",
                         lambda: (lambda all: all if len(all) >= count else None)(self.record.read_text().split("\n")[:-1]))
        self.assertEqual(len(lines), count)
        return [line.removeprefix("file://") for line in lines]

    def report(self):
        self.display.key("alt+t", "r")

    def save(self, name):
        """Types a name into the dialog that is asked for by a key."""
        self.display.window(SAVE_DIALOG)
        self.display.key("ctrl+a")
        self.display.type(str(name))
        self.display.key("Return")

    def saved(self, path, content):
        wait_for(f"the file {path}", lambda: path.exists() and path.read_bytes() == content)

    def test_log_report_goes_to_the_desktop_and_away_with_the_window(self):
        process = self.open(SAMPLE_LOG)
        self.report()
        (path,) = self.opened(1)
        self.assertRegex(path, rf"^{self.temporary}/_cw[0-9A-F]+\.txt$")
        self.assertEqual([self.temporary / path], list(self.temporary.iterdir()))
        with open(path, "rb") as file:
            self.assertEqual(file.read(), self.expected(SAMPLE_LOG))
        self.assertEqual(stat.S_IMODE(os.stat(path).st_mode), 0o600)
        self.report()
        self.assertEqual(self.opened(2), [path, path])
        self.close(process, SAMPLE_LOG.name)
        self.assertEqual(list(self.temporary.iterdir()), [])
        self.assertEqual(self.errors(), "")

    def test_media_report_has_a_mark(self):
        process = self.open(SAMPLE)
        self.report()
        (path,) = self.opened(1)
        with open(path, "rb") as file:
            content = file.read()
        self.assertEqual(content, self.expected(SAMPLE))
        self.assertTrue(content.startswith(b"\xff\xfe"))
        self.close(process, SAMPLE.name)
        self.assertEqual(list(self.temporary.iterdir()), [])

    def test_saved_log_report_stays(self):
        process = self.open(SAMPLE_LOG)
        target = self.folder / "mine.txt"
        self.display.key("alt+f", "s")
        self.save(target)
        self.saved(target, self.expected(SAMPLE_LOG))
        self.close(process, SAMPLE_LOG.name)
        self.assertTrue(target.exists())
        self.assertEqual(self.record.read_text(), "")

    def test_saved_media_report_is_opened_and_goes_with_the_window(self):
        process = self.open(SAMPLE)
        target = self.folder / "mine"
        self.display.key("alt+f", "s")
        self.save(target)
        # The extension comes by itself.
        self.assertEqual(self.opened(1), [f"{target}.txt"])
        self.saved(self.folder / "mine.txt", self.expected(SAMPLE))
        self.close(process, SAMPLE.name)
        self.assertFalse((self.folder / "mine.txt").exists())

    def test_the_key_asks_twice(self):
        process = self.open(SAMPLE_LOG)
        self.display.key("ctrl+s")
        first = self.folder / "first.txt"
        self.save(first)
        self.saved(first, self.expected(SAMPLE_LOG))
        second = self.folder / "second.txt"
        self.save(second)
        self.saved(second, self.expected(SAMPLE_LOG))
        wait_for("the dialog to go", lambda: not self.display.windows(SAVE_DIALOG))
        self.close(process, SAMPLE_LOG.name)

    def test_a_place_that_cannot_be_written_leaves_the_window_alive(self):
        process = self.open(SAMPLE_LOG)
        self.temporary.rmdir()
        self.temporary.write_text("no folder", encoding="utf-8")
        self.report()
        # A log's report is handed over whatever became of it.
        (path,) = self.opened(1)
        self.assertFalse(os.path.exists(path))
        self.assertIsNone(process.poll())
        self.close(process, SAMPLE_LOG.name)
        self.assertEqual(self.temporary.read_text(), "no folder")


if __name__ == "__main__":
    unittest.main()
