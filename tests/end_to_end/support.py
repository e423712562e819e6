"""What the end-to-end tests share: the built programs, displays of their own, and windows on them."""
import json
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
SAMPLE_LOG = BUILD / "samples" / "tour.clg"
CWCAB = BIN / "cwcab"
CWCABVIEW = BIN / "cwcabview"

PATIENCE_SECONDS = 60
SCREEN_WIDTH = 1280

# How the window draws a selected row, and where its panes meet.
HIGHLIGHT = bytes((0x30, 0x8C, 0xC6))
TREE_WIDTH = 250
NOTHING_COPIED = "nothing copied yet"


def run(*command, timeout=PATIENCE_SECONDS, **options):
    """Runs a program to its end; its output as text."""
    return subprocess.run([str(word) for word in command], capture_output=True, text=True, timeout=timeout,
                          check=False, **options)


def build_media(folder, name, model, *options):
    """Builds a media from a manifest given as an object; the path of its header."""
    manifest = folder / f"{name}.json"
    manifest.write_text(json.dumps(model), encoding="utf-8")
    built = run(CWCAB, "build", manifest, "-o", folder, "--name", name, *options)
    if built.returncode:
        raise AssertionError(built.stderr)
    return folder / f"{name}.hdr"


def build_protected_media(folder, password):
    """Builds `safe.hdr` in a folder, with one feature; its path."""
    password_file = folder / "password"
    password_file.write_text(password + "\n", encoding="utf-8")
    return build_media(folder, "safe", {"Features": [{"Name": "Hidden feature"}]}, "--password-file", password_file)


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
        # Without "-noreset" the server starts afresh whenever its last client goes. The first look for the
        # window manager can be that client, and then takes with it a manager that is just coming up.
        self.server = subprocess.Popen(
            ["Xvfb", "-displayfd", str(write_end), "-screen", "0", f"{SCREEN_WIDTH}x900x24", "-nolisten", "tcp",
             "-noreset"],
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

    def click(self, x, y, button=1):
        # Not with "--sync", which waits in vain where the pointer is there already.
        self.xdotool("mousemove", str(x), str(y), "click", str(button))

    def put_on_clipboard(self, text):
        # It stays behind to answer for the text until another program takes over.
        subprocess.run(["xclip", "-selection", "clipboard"], input=text.encode(), env=self.environment, check=True,
                       stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL, timeout=PATIENCE_SECONDS)

    def clipboard(self):
        """The text of the clipboard to the letter, line ends included."""
        return subprocess.run(["xclip", "-selection", "clipboard", "-out", "-target", "UTF8_STRING"],
                              env=self.environment, capture_output=True, check=False,
                              timeout=PATIENCE_SECONDS).stdout.decode()

    def picture(self):
        """The pixels of the screen, three bytes each."""
        return subprocess.run(["import", "-window", "root", "-depth", "8", "rgb:-"], env=self.environment, check=True,
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


class MediaWindowTest(WindowTest):
    """A test that works with an open file as a person does. What the window shows is read through
    its own Copy, and where a row is through the colour of its selection."""

    def open(self, file=SAMPLE):
        process = self.start(file)
        self.display.window(file.name)
        return process

    def view(self, mnemonic):
        """Chooses a subject; the tree has the focus and no selection then."""
        self.display.key("alt+v", mnemonic)

    def select_files(self, downs):
        """Selects the Files item of a component, so many rows below the root in the tree."""
        self.view("c")
        self.display.key("Home", *["Down"] * downs, "Right", "Down")

    def copied(self, *keys):
        """What comes on the clipboard by these keys."""
        self.display.put_on_clipboard(NOTHING_COPIED)
        self.display.key(*keys)
        return wait_for("a text on the clipboard", lambda: self.newly_copied())

    def newly_copied(self):
        text = self.display.clipboard()
        return text if text != NOTHING_COPIED else None

    def row(self, number):
        """The text of a row of the list, which has the focus."""
        return self.copied("Home", *["Down"] * number, "shift+F10", "Return")

    def first_row(self):
        """The text of the list's first row; the focus goes there from the tree and comes back."""
        self.display.key("Tab")
        text = self.row(0)
        self.display.key("Tab")
        return text

    def selected_row(self, in_list):
        """Waits for the selected row of a pane: its left, top, right and bottom on the screen."""
        return wait_for("a selected row", lambda: self.find_selected_row(in_list))

    def find_selected_row(self, in_list):
        window = self.display.windows(r"\.(hdr|cab|clg)$")[-1]
        geometry = self.display.xdotool("getwindowgeometry", "--shell", window).stdout
        left = int(next(line for line in geometry.splitlines() if line.startswith("X=")).removeprefix("X="))
        picture = self.display.picture()
        band = []
        for y in range(len(picture) // (3 * SCREEN_WIDTH)):
            line = picture[3 * SCREEN_WIDTH * y:3 * SCREEN_WIDTH * (y + 1)]
            x = self.run_of_highlight(line, left + TREE_WIDTH if in_list else left)
            if x is not None and (x >= left + TREE_WIDTH) == in_list:
                band.append((x, y))
            elif band and y > band[-1][1] + 20:
                break
        if not band:
            return None
        x, top = band[0]
        return x, top, x + 40, band[-1][1]

    @staticmethod
    def run_of_highlight(line, start):
        """The first pixel of a line, from `start` on, where forty pixels of a selection begin."""
        found = line.find(HIGHLIGHT * 40, 3 * start)
        while found % 3 and found >= 0:
            found = line.find(HIGHLIGHT * 40, found + 1)
        return found // 3 if found >= 0 else None
