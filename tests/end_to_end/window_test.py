"""A real window on a real media, driven by keys and seen on a virtual display."""
import json
import shutil
import unittest

from support import (BUILD, CWCABVIEW, FIXTURE, SAMPLE, WindowTest, build_protected_media, run,
                     wait_for)

APPLICATION = "Cratewright Cabinet and Log File Viewer"


class Window(WindowTest):
    def test_opens_a_media_of_the_command_line(self):
        process = self.start(SAMPLE)
        self.display.window("tour.hdr")
        before = self.display.picture()
        self.assertGreater(len(set(before[i:i + 3] for i in range(0, len(before), 3 * 97))), 8)
        # Into the tree and down to a feature: the list on the right fills.
        self.display.key("Home", "Right", "Down")
        self.changed_picture(before)
        self.close(process, "tour.hdr")
        self.assertEqual(self.errors(), "")
        self.assertIn(str(SAMPLE), self.settings())

    def test_starts_empty_without_a_path(self):
        process = self.start()
        self.display.window(APPLICATION)
        self.close(process, APPLICATION)
        self.assertEqual(self.errors(), "")

    def test_a_second_start_is_a_second_window(self):
        first = self.start()
        second = self.start()
        wait_for("two windows", lambda: len(self.display.windows(APPLICATION)) == 2)
        for process in (first, second):
            self.assertIsNone(process.poll())

    def test_expert_mode_is_kept_over_a_restart(self):
        for mode in ("Mode=1", "Mode=0"):
            process = self.start(SAMPLE)
            self.display.window("tour.hdr")
            self.display.key("alt+v", "e")
            self.close(process, "tour.hdr")
            self.assertIn(mode, self.settings())

    def test_a_file_that_does_not_open_is_told_and_the_window_lives(self):
        broken = self.folder / "broken.hdr"
        broken.write_bytes(b"no media")
        process = self.start(broken)
        self.display.window("broken.hdr")
        box = wait_for("the error box", lambda: [w for w in self.display.windows(".*")
                                                 if "broken" not in self.title(w) and self.title(w)])
        self.display.xdotool("windowactivate", "--sync", box[-1])
        self.display.key("Return")
        self.assertIsNone(process.poll())
        self.close(process, "broken.hdr")

    def title(self, window):
        return self.display.xdotool("getwindowname", window).stdout.strip()

    def test_a_protected_media_asks_until_the_password_is_right(self):
        process = self.start(build_protected_media(self.folder, "open sesame"))
        self.display.window("[Pp]assword")
        self.display.type("wrong")
        self.display.key("Return")
        self.display.window("[Pp]assword")
        self.display.key("ctrl+a")
        self.display.type("open sesame")
        self.display.key("Return")
        wait_for("the prompt to go", lambda: not self.display.windows("[Pp]assword"))
        self.close(process, "safe.hdr")
        self.assertIn("safe.hdr", self.settings())

    def test_the_about_box_tells_the_name(self):
        process = self.start()
        self.display.window(APPLICATION)
        self.display.key("alt+h", "a")
        self.display.window("About " + APPLICATION)
        self.display.key("Return")
        wait_for("the box to go", lambda: not self.display.windows("About " + APPLICATION))
        self.close(process, APPLICATION)

    def test_an_error_that_nobody_catches_leaves_the_window_alive(self):
        # The window beside the fixture reader, whose models can fail anywhere.
        program = self.folder / "bin" / "cwcabview"
        program.parent.mkdir()
        shutil.copy(CWCABVIEW, program)
        shutil.copy(FIXTURE / "MediaForge40.dll", program.parent)
        self.environment["LD_LIBRARY_PATH"] = str(BUILD / "lib")
        model = self.folder / "model.hdr"
        model.write_text(json.dumps({"media": {
            "Features": [{"Name": "Good"}, {"Name": {"fail": "0x80004005"}}, {"Name": "Never reached"}]}}),
            encoding="utf-8")
        process = self.start(model, program=program)
        self.display.window("model.hdr")
        wait_for("the line on standard error", self.errors)
        self.assertEqual(self.errors().count("\n"), 1, self.errors())
        self.assertIn("0x80004005", self.errors())
        self.assertIsNone(process.poll())
        self.close(process, "model.hdr")


if __name__ == "__main__":
    unittest.main()
