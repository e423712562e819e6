"""How the window behaves among others on a desktop: what is dropped on it, a second window, tips, and
settings that are not as they should be."""
import os
import subprocess
import time
import unittest

from support import (BUILD, SAMPLE, SAMPLE_LOG, SCREEN_WIDTH, MediaWindowTest, WindowTest, build_media,
                     build_protected_media, run, wait_for)

APPLICATION = "Cratewright Cabinet and Log File Viewer"
LONGEST_PAUSE_BEFORE_A_TIP_SECONDS = 1.5
DRAG_SOURCE = BUILD / "tests" / "end_to_end" / "cw_drag_source"


class Drop(WindowTest):
    def drag(self, *paths):
        """Drags files from another window onto the middle of the viewer; what became of them."""
        source = subprocess.Popen([DRAG_SOURCE, *map(str, paths)], env=self.environment, stdout=subprocess.PIPE,
                                  text=True)
        self.addCleanup(source.stdout.close)
        self.addCleanup(self.end, source)
        window = self.display.window("drag source")
        # Beside the viewer, which the window manager may have put it on.
        self.display.xdotool("windowmove", "--sync", window, "1150", "820")
        viewer = wait_for("the viewer", lambda: self.display.windows(self.title))[-1]
        steps = [("1190", "850"), ("1180", "845"), ("1100", "700"), ("700", "500"), ("600", "450"), ("590", "440")]
        self.display.xdotool("windowmove", "--sync", viewer, "0", "30")
        self.display.xdotool("windowsize", "--sync", viewer, "1000", "700")
        self.display.xdotool("windowactivate", "--sync", window)
        self.display.xdotool("mousemove", "--sync", *steps[0], "mousedown", "1")
        for step in steps[1:]:
            self.display.xdotool("mousemove", "--sync", *step, "sleep", "0.2")
        self.display.xdotool("mouseup", "1")
        self.source = source
        return source.stdout.readline().strip()

    def close(self, process, title):
        """Without the other window, which could still take the focus and the keys with it. It has to stay
        until the file is there: what was dropped is fetched from it."""
        self.end(self.source)
        wait_for("the other window to go", lambda: not self.display.windows("drag source"))
        super().close(process, title)

    def test_a_file_is_opened(self):
        process = self.start()
        self.title = APPLICATION
        self.display.window(APPLICATION)
        self.assertEqual(self.drag(SAMPLE, SAMPLE_LOG), "copied", "and never moved away")
        self.display.window("tour.hdr")
        self.close(process, "tour.hdr")
        self.assertIn(str(SAMPLE), self.settings())
        self.assertNotIn(str(SAMPLE_LOG), self.settings())
        self.assertTrue(SAMPLE.exists())

    def test_any_file_is_taken_and_the_open_tells(self):
        other = self.folder / "letter.txt"
        other.write_text("no media", encoding="utf-8")
        process = self.start()
        self.title = APPLICATION
        self.display.window(APPLICATION)
        self.assertEqual(self.drag(other), "copied")
        wait_for("the error box and the window", lambda: len(self.display.windows("Viewer$|letter")) == 2)
        self.display.key("Return")
        self.close(process, "letter.txt")

    def test_a_folder_is_refused(self):
        process = self.start()
        self.title = APPLICATION
        self.display.window(APPLICATION)
        self.assertEqual(self.drag(self.folder), "refused")
        self.close(process, APPLICATION)

    def test_nothing_is_taken_while_a_dialog_is_open(self):
        process = self.start(SAMPLE)
        self.title = "tour.hdr"
        self.display.window("tour.hdr")
        self.display.key("ctrl+o")
        dialog = self.display.window("^Open$")
        # Out of the way: it would take files itself.
        self.display.xdotool("windowmove", "--sync", dialog, "700", "600")
        self.display.xdotool("windowsize", "--sync", dialog, "300", "200")
        self.assertEqual(self.drag(SAMPLE_LOG), "refused")
        self.display.window("^Open$")
        self.display.key("Escape")
        self.close(process, "tour.hdr")


class Tips(MediaWindowTest):
    def test_what_is_cut_is_told_whole(self):
        name = "<b>A feature</b> whose name is longer than the tree is wide & goes on"
        process = self.open(build_media(self.folder, "long", {"Features": [{"Name": name}]}))
        self.view("f")
        self.display.key("Home", "Right", "Down")
        left, top, _, bottom = self.selected_row(in_list=False)
        row_height = bottom - top + 1
        # The root above it fits.
        self.hover(left + 60, top - row_height // 2)
        time.sleep(LONGEST_PAUSE_BEFORE_A_TIP_SECONDS)
        self.assertEqual(self.tips(), [])
        self.hover(left + 60, top + row_height // 2)
        tip = wait_for("the tip", self.tips)[0]
        geometry = dict(line.split("=") for line in
                        self.display.xdotool("getwindowgeometry", "--shell", tip).stdout.split())
        self.assertGreater(int(geometry["HEIGHT"]), 2 * 14, "the name in several lines")
        self.assertLess(int(geometry["X"]) + int(geometry["WIDTH"]), SCREEN_WIDTH)
        self.close(process, "long.hdr")

    def hover(self, x, y):
        self.display.xdotool("mousemove", "--sync", str(x), "880")
        self.display.xdotool("mousemove", "--sync", str(x), str(y))

    def tips(self):
        """The visible windows of the kind that tool tips are."""
        tree = run("xwininfo", "-root", "-tree", env=self.environment).stdout
        numbers = [line.split()[0] for line in tree.splitlines()
                   if line.lstrip().startswith("0x") and "cwcabview" in line]
        return [number for number in numbers if "_NET_WM_WINDOW_TYPE_TOOLTIP" in
                run("xprop", "-id", number, "_NET_WM_WINDOW_TYPE", env=self.environment).stdout]


class CommandLine(WindowTest):
    def test_the_window_stands_before_the_file_is_open(self):
        process = self.start(build_protected_media(self.folder, "open sesame"))
        # The open waits for an answer, so what is on the screen was there before its end.
        self.display.window("[Pp]assword")
        self.assertTrue(self.display.windows("safe.hdr"))
        self.display.key("Escape")
        self.close(process, "safe.hdr")


class Settings(WindowTest):
    """The user's settings, seen as the file that they are."""

    @property
    def file(self):
        return self.folder / "config" / "Cratewright" / f"{APPLICATION}.conf"

    def write(self, text):
        self.file.parent.mkdir(parents=True, exist_ok=True)
        self.file.write_bytes(text.encode() if isinstance(text, str) else text)

    def test_two_windows_keep_what_is_not_theirs(self):
        self.write("[Tools]\nColour=green\n")
        first = self.start(SAMPLE)
        self.display.window("tour.hdr")
        second = self.start(SAMPLE_LOG)
        self.display.window("tour.clg")
        self.assertNotEqual(first.pid, second.pid)
        self.close(second, "tour.clg")
        self.assertIsNone(first.poll(), "a window of its own")
        self.assertIn(str(SAMPLE_LOG), self.settings())
        with open(self.file, "a", encoding="utf-8") as file:
            file.write("[Later]\nKey=1\n")
        self.display.window("tour.hdr")
        self.display.key("alt+v", "e")
        self.close(first, "tour.hdr")
        for line in ("[Tools]\nColour=green\n", "[Later]\nKey=1\n", "Mode=1\n", f"File1={SAMPLE}\n"):
            self.assertIn(line, self.settings())

    def test_garbage_is_started_with_and_kept(self):
        garbage = bytes(range(256)) * 64 + b"\n[Settings\nMode=yes\n[Settings]\nMode=yes\n"
        self.write(garbage)
        process = self.start(SAMPLE)
        self.display.window("tour.hdr")
        self.close(process, "tour.hdr")
        after = self.file.read_bytes()
        self.assertTrue(after.startswith(garbage[:-len(b"Mode=yes\n")] + b"Mode=0\n"), after[-200:])
        self.assertTrue(after.endswith(b"[Recent File List]\nFile1=" + os.fsencode(SAMPLE) + b"\n"), after[-200:])
        self.assertEqual(self.errors(), "")

    def test_a_pipe_or_a_folder_is_neither_waited_for_nor_replaced(self):
        for make, is_one in ((os.mkfifo, self.file.is_fifo), (os.mkdir, self.file.is_dir)):
            self.file.parent.mkdir(parents=True, exist_ok=True)
            make(self.file)
            process = self.start(SAMPLE)
            self.display.window("tour.hdr")
            self.close(process, "tour.hdr")
            self.assertTrue(is_one())
            self.assertEqual(self.errors(), "")
            self.file.unlink() if self.file.is_fifo() else self.file.rmdir()

    def test_a_settings_folder_that_cannot_be_made(self):
        (self.folder / "config").write_text("a file", encoding="utf-8")
        process = self.start(SAMPLE)
        self.display.window("tour.hdr")
        self.close(process, "tour.hdr")
        self.assertEqual((self.folder / "config").read_text(encoding="utf-8"), "a file")
        self.assertEqual(self.errors(), "")


if __name__ == "__main__":
    unittest.main()
