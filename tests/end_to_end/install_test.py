"""An installation works from where it was put, and readers can be written against it."""
import shutil
import unittest

from support import BUILD, FolderTest, run

READER = """
#include "automation/dispatch_object.h"
#include "bridges/log_interface.h"
#include "bridges/media_interface.h"
CW_LIBRARY_EXPORT HRESULT DllGetClassObject(REFCLSID class_id, REFIID, void** object)
{
    *object = nullptr;
    return class_id == cw::CLSID_MediaFactory ? S_OK : CLASS_E_CLASSNOTAVAILABLE;
}
"""


class Install(FolderTest):
    def setUp(self):
        super().setUp()
        installed = run("cmake", "--install", BUILD, "--prefix", self.folder / "first", timeout=300)
        self.assertEqual(installed.returncode, 0, installed.stderr)
        # Moved whole: nothing may remember where it was put.
        self.prefix = self.folder / "moved"
        shutil.move(self.folder / "first", self.prefix)

    def test_has_the_usual_layout(self):
        for place in ("bin/cwcab", "bin/cwcabview", "lib/Cratewright/MediaForge40.dll",
                      "include/cratewright/automation/dispatch_object.h",
                      "include/cratewright/bridges/media_interface.h",
                      "share/applications/cwcabview.desktop", "share/mime/packages/cwcabview.xml",
                      "share/cratewright/samples/tour.hdr", "Program/0409/HelpLib.chm/helplibrary/CwCabView.htm",
                      "Program/0409/HelpLib.chm/helplibrary/pictures/window.png"):
            self.assertTrue((self.prefix / place).is_file(), place)

    def test_shows_a_media(self):
        sample = self.prefix / "share/cratewright/samples/tour.hdr"
        tree = run(self.prefix / "bin/cwcab", "tree", sample)
        self.assertEqual((tree.returncode, tree.stderr), (0, ""))
        self.assertEqual(tree.stdout, run(BUILD / "bin/cwcab", "tree", sample).stdout)
        self.assertTrue(tree.stdout.startswith("Features\n"))

    def test_draws_the_window(self):
        picture = self.folder / "view.png"
        drawn = run(self.prefix / "bin/cwcabview", "--screenshot", picture,
                    self.prefix / "share/cratewright/samples/tour.hdr")
        self.assertEqual(drawn.returncode, 0, drawn.stderr)
        self.assertEqual(picture.read_bytes()[:8], b"\x89PNG\r\n\x1a\n")

    def test_a_reader_builds_against_it(self):
        source = self.folder / "reader.cpp"
        source.write_text(READER, encoding="utf-8")
        built = run("c++", "-std=c++20", "-shared", "-fPIC", "-fvisibility=hidden",
                    f"-I{self.prefix}/include/cratewright", source, "-o", self.folder / "reader.dll",
                    f"-L{self.prefix}/lib", "-lcw_automation")
        self.assertEqual(built.returncode, 0, built.stderr)


if __name__ == "__main__":
    unittest.main()
