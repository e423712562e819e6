"""./run without a display: the window as a picture, the tree on the terminal, and a word about both."""
import os
import unittest
from pathlib import Path

from support import BUILD, CWCAB, SAMPLE, SAMPLE_LOG, FolderTest, run

TOP = Path(os.environ["CW_SOURCE_DIR"])


class Run(FolderTest):
    def test_without_a_display_and_without_a_file_it_shows_the_sample(self):
        environment = {name: value for name, value in os.environ.items() if name not in ("DISPLAY", "WAYLAND_DISPLAY")}
        picture = BUILD / "view.png"
        picture.unlink(missing_ok=True)
        result = run(TOP / "run", env=environment, timeout=600)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(result.stdout, run(CWCAB, "tree", SAMPLE).stdout)
        self.assertIn(str(picture), result.stderr)
        self.assertEqual(picture.read_bytes()[:8], b"\x89PNG\r\n\x1a\n")

    def test_shows_the_sample_log_too(self):
        environment = {name: value for name, value in os.environ.items() if name not in ("DISPLAY", "WAYLAND_DISPLAY")}
        result = run(TOP / "run", SAMPLE_LOG, env=environment, timeout=600)
        self.assertEqual(result.returncode, 0, result.stderr)
        self.assertEqual(result.stdout, run(CWCAB, "tree", SAMPLE_LOG).stdout)
        self.assertIn("File Operations", result.stdout)

    def test_tells_when_a_file_does_not_open(self):
        environment = {name: value for name, value in os.environ.items() if name not in ("DISPLAY", "WAYLAND_DISPLAY")}
        result = run(TOP / "run", "nowhere.hdr", env=environment, timeout=600, cwd=self.folder)
        self.assertEqual(result.returncode, 1)
        self.assertIn(str(self.folder / "nowhere.hdr"), result.stderr)


if __name__ == "__main__":
    unittest.main()
