"""Installation logs: recorded, read, told by the companion and shown in a real window."""
import json
import os
import resource
import shutil
import sqlite3
import subprocess
import unittest

from support import CWCAB, PATIENCE_SECONDS, SAMPLE, SAMPLE_LOG, FolderTest, MediaWindowTest, run

LINES = [
    {"feature": "APP", "name": "Ferry Timetable"},
    {"property": "State", "feature": "APP", "value": 2},
    {"property": "Version", "feature": "APP", "value": "4.2"},
    {"feature": "PIERS", "name": "Piers", "parent": "APP"},
    {"property": "Columns", "feature": "PIERS", "value": {"array": ["Town", "Pier"]}},
    {"property": "North", "feature": "PIERS", "value": {"array": ["Aldeburgh", "1"]}},
    {"property": "State", "feature": "PIERS", "value": 0},
    {"operation": "OPTYPE_REGISTRY", "feature": "PIERS", "key": "Software\\Ferry", "value_name": "Pier",
     "remote_name": "", "hive": 2, "permanent_or_created": True, "remote": False, "shared": False},
    {"operation": "OPTYPE_REGISTRY", "feature": "PIERS", "key": "Software\\Ferry\\New", "hive": 1,
     "permanent_or_created": True},
    {"operation": "OPTYPE_REGISTRY64", "feature": "PIERS", "key": "Software\\Wide", "value_name": "Pier", "hive": 2,
     "permanent_or_created": False, "flags": 256},
    {"operation": "OPTYPE_FILE", "feature": "PIERS", "folder": "/opt/ferry", "file_name": "b.dat", "shared": True},
    {"operation": "OPTYPE_FILE", "feature": "PIERS", "folder": "/opt/ferry", "file_name": "a.dat"},
    {"operation": "OPTYPE_FILE", "feature": "PIERS", "folder": "/opt/ferry", "file_name": "old", "is_directory": True,
     "permanent_or_created": True},
    {"operation": "TIDES", "feature": "PIERS", "record": ["spring", 4, True]},
    {"operation": "OPTYPE_GENERAL", "feature": "PIERS", "record": ["Ring", "the bell"]},
]

MEMORY_LIMIT_BYTES = 700 << 20

TREE = """ferry.clg
  Ferry Timetable
    Piers
      File Operations
      Registry Operations
      OPTYPE_GENERAL
      TIDES
"""


def record(path):
    """Records the lines as an installer would."""
    return run(CWCAB, "record", path, "--strict", input="".join(json.dumps(line) + "\n" for line in LINES))


def rows_of(path, at):
    result = run(CWCAB, "show", path, "--at", at, "--json")
    if result.returncode:
        raise AssertionError(result.stderr)
    return [row["cells"] for row in json.loads(result.stdout)["rows"]]


def limited():
    """In a child before it becomes a program: little memory."""
    if "asan" not in os.environ["CW_BUILD_DIR"]:
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT_BYTES, MEMORY_LIMIT_BYTES))


class Companion(FolderTest):
    def setUp(self):
        super().setUp()
        self.log = self.folder / "ferry.clg"
        result = record(self.log)
        self.assertEqual((result.returncode, result.stderr), (0, ""))

    def test_the_tree_of_what_was_recorded(self):
        result = run(CWCAB, "tree", self.log)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(result.stdout, TREE)

    def test_the_lists_of_what_was_recorded(self):
        self.assertEqual(rows_of(self.log, "0/0"), [["State", "Installed"], ["Version", "4.2"]])
        self.assertEqual(rows_of(self.log, "0/0/0"),
                         [["Town", "Aldeburgh"], ["Pier", "1"], ["State", "Not Installed"]])
        self.assertEqual(rows_of(self.log, "0/0/0/0"),
                         [["/opt/ferry", "b.dat", "True", "False", "False", "False", "-"],
                          ["/opt/ferry", "a.dat", "False", "False", "False", "False", "-"],
                          ["/opt/ferry", "old", "False", "True", "-", "-", "True"]])
        self.assertEqual(rows_of(self.log, "0/0/0/1"),
                         [["Software\\Wide", "Pier", "", "HKEY_LOCAL_MACHINE", "False", "", "False", "False", "256"],
                          ["Software\\Ferry", "Pier", "", "HKEY_LOCAL_MACHINE", "True", "", "False", "False", ""],
                          ["Software\\Ferry\\New", "", "", "HKEY_CURRENT_USER", "", "True", "False", "False", ""]])
        self.assertEqual(rows_of(self.log, "0/0/0/2"), [["Ring", "the bell"]])
        # An unknown type shows the general operations.
        self.assertEqual(rows_of(self.log, "0/0/0/3"), [["Ring", "the bell"]])

    def test_the_companion_finds_both_readers(self):
        result = run(CWCAB, "readers")
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertIn("LogKit.dll", result.stdout)

    def test_reading_leaves_no_trace(self):
        before = {file.name: file.read_bytes() for file in self.folder.iterdir()}
        run(CWCAB, "tree", self.log)
        rows_of(self.log, "0/0/0/1")
        self.assertEqual({file.name: file.read_bytes() for file in self.folder.iterdir()}, before)

    def test_a_log_that_is_being_recorded(self):
        log = self.folder / "running.clg"
        recorder = subprocess.Popen([CWCAB, "record", log, "--acknowledge"], stdin=subprocess.PIPE,
                                    stdout=subprocess.PIPE, text=True)
        self.addCleanup(recorder.kill)
        for line in LINES[:4]:
            recorder.stdin.write(json.dumps(line) + "\n")
            recorder.stdin.flush()
        while int(recorder.stdout.readline()) < 4:
            pass
        self.assertEqual(run(CWCAB, "tree", log).stdout, "running.clg\n  Ferry Timetable\n    Piers\n")
        # The recorder goes on, and ends well while somebody has looked.
        acknowledged, _ = recorder.communicate(json.dumps(LINES[10]) + "\n", timeout=PATIENCE_SECONDS)
        self.assertEqual((acknowledged, recorder.returncode), ("5\n", 0))
        self.assertIn("File Operations", run(CWCAB, "tree", log).stdout)
        self.assertEqual([file.name for file in self.folder.glob("running.clg?*")], [])

    def test_a_log_that_a_killed_recorder_left_behind(self):
        log = self.folder / "killed.clg"
        recorder = subprocess.Popen([CWCAB, "record", log, "--acknowledge"], stdin=subprocess.PIPE,
                                    stdout=subprocess.PIPE, text=True)
        self.addCleanup(recorder.stdout.close)
        self.addCleanup(recorder.stdin.close)
        for line in LINES:
            recorder.stdin.write(json.dumps(line) + "\n")
        recorder.stdin.flush()
        while int(recorder.stdout.readline()) < len(LINES):
            pass
        recorder.kill()
        recorder.wait()
        self.assertTrue((self.folder / "killed.clg-wal").exists())
        for folder in (self.folder, self.read_only_copy()):
            with self.subTest(folder=folder):
                log = folder / "killed.clg"
                files = [log, log.with_name("killed.clg-wal")]
                before = [file.read_bytes() for file in files]
                names = sorted(file.name for file in folder.iterdir())
                self.assertEqual(run(CWCAB, "tree", log).stdout, TREE.replace("ferry", "killed"))
                self.assertEqual(len(rows_of(log, "0/0/0/0")), 3)
                self.assertEqual([file.read_bytes() for file in files], before)
                self.assertEqual(sorted(file.name for file in folder.iterdir()), names)

    def read_only_copy(self):
        """What a copy on a disc is: the log and its write-ahead file, and nothing that can be written."""
        folder = self.folder / "disc"
        folder.mkdir()
        for name in ("killed.clg", "killed.clg-wal"):
            shutil.copy(self.folder / name, folder)
            (folder / name).chmod(0o444)
        folder.chmod(0o555)
        self.addCleanup(folder.chmod, 0o755)
        return folder

    def test_the_package_manager_of_this_machine(self):
        log = self.folder / "packages.clg"
        result = run(CWCAB, "import-dpkg", log)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        tree = json.loads(run(CWCAB, "tree", log, "--json").stdout)
        sections = [section["text"] for section in tree[0]["children"][0]["children"]]
        self.assertIn("python", sections)
        listed = run(CWCAB, "tree", log).stdout
        installed = run("dpkg-query", "-W", "-f", "${binary:Package}\\n").stdout.split()
        self.assertGreater(len(installed), 50)
        names = {line.strip().split(":")[0] for line in listed.splitlines()}
        self.assertEqual({name.split(":")[0] for name in installed} - names, set())
        self.assertIn("File Operations", listed)


class Sample(unittest.TestCase):
    """The sample log has something of everything that a log can tell."""

    @classmethod
    def setUpClass(cls):
        cls.tree = json.loads(run(CWCAB, "tree", SAMPLE_LOG, "--json").stdout)

    def nodes(self, kind):
        """Index paths and nodes of a kind."""
        found = []

        def walk(nodes, at):
            for index, node in enumerate(nodes):
                path = [*at, str(index)]
                if node["kind"] == kind:
                    found.append(("/".join(path), node))
                walk(node["children"], path)
        walk(self.tree, [])
        return found

    def lists(self, kind):
        return [rows_of(SAMPLE_LOG, path) for path, _ in self.nodes(kind)]

    def test_features_of_several_levels(self):
        features = self.nodes(9)
        self.assertGreaterEqual(max(path.count("/") for path, _ in features), 3)
        names = [node["text"] for _, node in features]
        for name in ("The Tour", "Русский", "中文"):
            self.assertIn(name, names)
        lists = [rows_of(SAMPLE_LOG, path) for path, _ in features]
        self.assertIn([["State", "Not Installed"]], lists)
        self.assertTrue(any(["State", "Installed"] in rows for rows in lists))
        # Titles with more than one array of values.
        self.assertTrue(any(len(rows) > len({title for title, _ in rows}) for rows in lists))

    def test_operations_of_every_type(self):
        for kind in (10, 11, 12, 13, 14, 15, 16):
            self.assertTrue(any(len(rows) > 1 for rows in self.lists(kind)), kind)
        labels = [node["text"] for kind in (10, 15) for _, node in self.nodes(kind)]
        self.assertIn("Progman Operations", labels)
        self.assertIn("OPTYPE_GENERAL", labels)
        self.assertTrue([label for label in labels if label.startswith("OPTYPE_") and label != "OPTYPE_GENERAL"])

    def test_files_and_directories(self):
        rows = [row for rows in self.lists(10) for row in rows]
        self.assertEqual({row[3] for row in rows}, {"True", "False"})
        self.assertEqual({row[5] for row in rows}, {"True", "False", "-"})
        self.assertEqual({row[6] for row in rows}, {"True", "False", "-"})

    def test_both_sides_of_the_registry(self):
        lists = self.lists(12)
        wide = [[bool(row[8]) for row in rows] for rows in lists]
        self.assertTrue(any(True in rows and False in rows for rows in wide))
        self.assertTrue(any(True not in rows for rows in wide))
        rows = [row for rows in lists for row in rows]
        self.assertEqual({row[3] for row in rows} - {""},
                         {"HKEY_CLASSES_ROOT", "HKEY_CURRENT_USER", "HKEY_LOCAL_MACHINE", "HKEY_PERFORMANCE_DATA",
                          "HKEY_CURRENT_CONFIG", "HKEY_DYN_DATA"})
        self.assertTrue([row for row in rows if row[1] and row[4]])
        self.assertTrue([row for row in rows if not row[1] and row[5]])
        self.assertTrue([row for row in rows if row[1].isdigit()])

    def test_assembly_types_up_to_their_limits(self):
        types = {row[2] for rows in self.lists(16) for row in rows}
        self.assertLessEqual({"-1", "9999"}, types)


class BadLogs(FolderTest):
    """The window is silent about these; the companion tells the reader's reason, soon and in one line."""

    def assert_refused(self, path, *words):
        result = run(CWCAB, "tree", path, timeout=20)
        self.assertEqual(result.returncode, 1, result)
        self.assertEqual(result.stdout, path.name + "\n")
        self.assertEqual(result.stderr.count("\n"), 1, result.stderr)
        for word in (path.name, *words):
            self.assertIn(word, result.stderr)
        self.assertNotIn("cannot be read\n", result.stderr.replace('" cannot be read', ""))

    def sample(self, name="log.clg"):
        record(self.folder / name)
        return self.folder / name

    def test_missing(self):
        self.assert_refused(self.folder / "nowhere.clg", "cannot be found")

    def test_empty(self):
        (self.folder / "empty.clg").touch()
        self.assert_refused(self.folder / "empty.clg", "empty")

    def test_folder(self):
        (self.folder / "folder.clg").mkdir()
        self.assert_refused(self.folder / "folder.clg", "folder")

    def test_pipe(self):
        os.mkfifo(self.folder / "pipe.clg")
        self.assert_refused(self.folder / "pipe.clg")

    def test_foreign(self):
        (self.folder / "text.clg").write_text("just a text\n" * 100)
        self.assert_refused(self.folder / "text.clg")
        shutil.copy(SAMPLE, self.folder / "media.clg")
        self.assert_refused(self.folder / "media.clg")
        sqlite3.connect(self.folder / "other.clg").execute("CREATE TABLE t (a)")
        self.assert_refused(self.folder / "other.clg")

    def test_truncated(self):
        whole = self.sample().read_bytes()
        for size in (10, 99, 512, 4096, len(whole) // 2, len(whole) - 1):
            with self.subTest(size=size):
                cut = self.folder / "cut.clg"
                cut.write_bytes(whole[:size])
                self.assert_refused(cut)

    def test_newer(self):
        log = self.sample()
        with sqlite3.connect(log) as database:
            database.execute("PRAGMA user_version = 99")
        self.assert_refused(log, "newer")

    def test_locked(self):
        log = self.sample()
        database = sqlite3.connect(log, isolation_level=None)
        self.addCleanup(database.close)
        database.execute("BEGIN EXCLUSIVE")
        self.assert_refused(log, "locked")

    def test_millions_of_operations_take_little_memory(self):
        log = self.sample()
        with sqlite3.connect(log) as database:
            database.execute("DELETE FROM file_operation")
            database.execute(
                "WITH RECURSIVE n(i) AS (SELECT 0 UNION ALL SELECT i + 1 FROM n WHERE i < 1999999) "
                "INSERT INTO file_operation SELECT 2, i, '/opt/ferry', 'f' || i, 0, 0, 0, 0 FROM n")
        tree = run(CWCAB, "tree", log, timeout=20, preexec_fn=limited)
        self.assertEqual((tree.returncode, tree.stderr), (0, ""))
        session = run(CWCAB, "session", "--json", preexec_fn=limited,
                      input=f"open {log}\nselect 0/0/0/0\nrow 1999999\nstate\n")
        answers = [json.loads(line) for line in session.stdout.splitlines()]
        self.assertEqual(answers[1], {"ok": True})
        self.assertEqual(answers[3]["row"], 1999999)

    def test_cycle(self):
        log = self.sample()
        with sqlite3.connect(log) as database:
            database.execute("INSERT INTO feature VALUES (7, 8, 0, 'a', 'A7'), (8, 7, 0, 'b', 'A8')")
        self.assert_refused(log)

    def test_a_file_that_may_not_be_read(self):
        if os.geteuid() == 0:
            self.skipTest("root reads everything")
        log = self.sample()
        log.chmod(0)
        self.assert_refused(log, "denied")


class LogWindow(MediaWindowTest):
    def test_the_sample_shows_its_features_and_operations(self):
        process = self.open(SAMPLE_LOG)
        before = self.display.picture()
        self.display.key("Home", "Right", "Down")
        self.changed_picture(before)
        expected = rows_of(SAMPLE_LOG, "0/0")
        self.display.key("Tab")
        for number, row in enumerate(expected):
            self.assertEqual(self.row(number), "\t".join(row))
        self.close(process, SAMPLE_LOG.name)
        self.assertEqual(self.errors(), "")
        self.assertIn(str(SAMPLE_LOG), self.settings())

    def test_a_list_of_operations(self):
        log = self.folder / "ferry.clg"
        record(log)
        process = self.open(log)
        # Down to the group of files, the first one of the feature.
        self.display.key("Home", "Right", "Down", "Right", "Down", "Right", "Down")
        self.assertEqual(self.first_row(), "/opt/ferry\tb.dat\tTrue\tFalse\tFalse\tFalse\t-")
        self.display.key("Tab", "ctrl+2")
        self.assertEqual(self.row(0), "/opt/ferry\ta.dat\tFalse\tFalse\tFalse\tFalse\t-")
        self.display.key("Tab", "Down")
        self.assertTrue(self.first_row().startswith("Software\\Wide\tPier\t"))
        self.close(process, "ferry.clg")
        self.assertEqual(self.errors(), "")

    def test_a_log_that_cannot_be_read_is_no_word_and_one_item(self):
        broken = self.folder / "broken.clg"
        broken.write_bytes(b"no log")
        process = self.open(broken)
        self.display.key("Home")
        self.selected_row(in_list=False)
        self.assertEqual(len(self.display.windows(".*broken.*")), 1)
        self.assertIsNone(process.poll())
        self.close(process, "broken.clg")
        self.assertEqual(self.errors(), "")


if __name__ == "__main__":
    unittest.main()
