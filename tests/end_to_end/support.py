"""What the end-to-end tests share: the built programs, displays of their own, and windows on them."""
import os
import shutil
import subprocess
import tempfile
import time
import unittest
from pathlib import Path

BUILD = Path(os.environ["CW_BUILD_DIR"])
BIN = BUILD / "bin"
FIXTURE = BUILD / "fixture"
SAMPLE = BUILD / "samples" / "tour.hdr"
CWCAB = BIN / "cwcab"
CWCABVIEW = BIN / "cwcabview"

PATIENCE_SECONDS = 60


def run(*command, timeout=PATIENCE_SECONDS, **options):
    """Runs a program to its end; its output as text."""
    return subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=timeout,
                          check=False, **options)


def wait_for(what, condition):
    """Waits until `condition()` answers something true, and answers that."""
    end = time.monotonic() + PATIENCE_SECONDS
    while time.monotonic() < end:
        result = condition()
        if result:
            return result
        time.sleep(0.05)
    raise AssertionError(f"waited in vain for {what}")


class FolderTest(unittest.TestCase):
    """A test with a folder of its own."""

    def setUp(self):
        self.folder = Path(tempfile.mkdtemp(prefix="cwtest-"))
        self.addCleanup(shutil.rmtree, self.folder, ignore_errors=True)


class Display:
    """A virtual display with a window manager on it."""

    def __init__(self):
        read_end, write_end = os.pipe()
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", "1280x900x24", "-nolisten", "tcp"],
            pass_fds=[write_end], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
        os.close(write_end)
        with os.fdopen(read_end) as pipe:
            self.name = ":" + pipe.readline().strip()
        self.environment = {**os.environ, "DISPLAY": self.name, "LC_ALL": "C.UTF-8"}
        self.environment.pop("QT_QPA_PLATFORM", None)
        self.environment.pop("WAYLAND_DISPLAY", None)
        self.manager = subprocess.Popen(["openbox"], env=self.environment, stdout=subprocess.DEVNULL,
                                        stderr=subprocess.DEVNULL)
        wait_for("the window manager",
                 lambda: "_NET_SUPPORTING_WM_CHECK(WINDOW)" in run("xprop", "-root", env=self.environment).stdout)

    def close(self):
        for process in (self.manager, self.server):
            process.terminate()
            process.wait()

    def xdotool(self, *words):
        return run("xdotool", *words, env=self.environment)

    def windows(self, title):
        """The visible windows whose title holds a regular expression."""
        return self.xdotool("search", "--onlyvisible", "--name", title).stdout.split()

    def window(self, title):
        """Waits for a window, brings it to the front, and answers its number."""
        number = wait_for(f"a window titled {title}", lambda: self.windows(title))[-1]
        self.xdotool("windowactivate", "--sync", number)
        return number

    def key(self, *names):
        for name in names:
            self.xdotool("key", "--delay", "20", name)
            time.sleep(0.1)

    def type(self, text):
        self.xdotool("type", "--delay", "20", text)

    def picture(self):
        """The pixels of the screen."""
        return subprocess.run(["import", "-window", "root", "rgb:-"], env=self.environment, check=True,
                              capture_output=True, timeout=PATIENCE_SECONDS).stdout


class WindowTest(FolderTest):
    """A test with a display, and settings of its own."""

    @classmethod
    def setUpClass(cls):
        cls.display = Display()
        cls.addClassCleanup(cls.display.close)

    def setUp(self):
        super().setUp()
        runtime = self.folder / "runtime"
        runtime.mkdir(mode=0o700)
        self.environment = {**self.display.environment, "XDG_CONFIG_HOME": str(self.folder / "config"),
                            "XDG_RUNTIME_DIR": str(runtime), "HOME": str(self.folder)}

    def start(self, *arguments, program=CWCABVIEW):
        """Starts the window; it is ended with the test."""
        errors = open(self.folder / "errors.txt", "w+", encoding="utf-8")
        self.addCleanup(errors.close)
        process = subprocess.Popen([str(program), *map(str, arguments)], env=self.environment, stderr=errors)
        self.addCleanup(self.end, process)
        return process

    @staticmethod
    def end(process):
        if process.poll() is None:
            process.kill()
            process.wait()

    def errors(self):
        return (self.folder / "errors.txt").read_text(encoding="utf-8")

    def close(self, process, title):
        """Closes the window as a person does and checks that the program ends well."""
        self.display.window(title)
        self.display.key("alt+F4")
        self.assertEqual(process.wait(PATIENCE_SECONDS), 0)

    def settings(self):
        """The user's settings as they lie on the disk."""
        return "".join(file.read_text(encoding="utf-8") for file in sorted((self.folder / "config").rglob("*.conf")))

    def changed_picture(self, before):
        """Waits until the screen shows something else than before."""
        return wait_for("a change on the screen",
                        lambda: (lambda now: now if now != before else None)(self.display.picture()))
