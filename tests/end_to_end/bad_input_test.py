"""Files that no media should be: each ends in a numbered error that a person understands, soon."""
import json
import os
import re
import resource
import shutil
import sqlite3
import unittest

from support import CWCAB, CWCABVIEW, SAMPLE, FolderTest, run

TIME_LIMIT_SECONDS = 20
MEMORY_LIMIT_BYTES = 1 << 30
MESSAGE = re.compile(r"^cwcab: (?P<file>.*): Error (?P<number>\d+) while attempting to open media\. "
                     r"Error: (?P<text>.+) \(system error '(?P<system>.*)'\)\n$")


def limited():
    if "asan" not in os.environ["CW_BUILD_DIR"]:
        resource.setrlimit(resource.RLIMIT_AS, (MEMORY_LIMIT_BYTES, MEMORY_LIMIT_BYTES))


class BadInput(FolderTest):
    def assert_refused(self, path, number=None, before_start=limited):
        """The file ends in one numbered line, within the limits; answers its text."""
        result = run(CWCAB, "tree", path, timeout=TIME_LIMIT_SECONDS, preexec_fn=before_start)
        self.assertEqual(result.returncode, 1, result)
        self.assertEqual(result.stdout, "")
        message = MESSAGE.match(result.stderr)
        self.assertIsNotNone(message, result.stderr)
        self.assertNotEqual(int(message["number"]), 0)
        if number is not None:
            self.assertEqual(int(message["number"]), number, result.stderr)
        self.assertGreater(len(message["text"]), 10)
        return message["text"]

    def sample_copy(self):
        for file in SAMPLE.parent.iterdir():
            if file.is_file():
                shutil.copy(file, self.folder)
        return self.folder / SAMPLE.name

    def changed_header(self, *statements):
        header = self.sample_copy()
        database = sqlite3.connect(header)
        for statement in statements:
            database.execute(statement)
        database.commit()
        database.close()
        return header

    def test_missing(self):
        self.assert_refused(self.folder / "nowhere.hdr", 2)

    def test_empty(self):
        (self.folder / "empty.hdr").touch()
        self.assert_refused(self.folder / "empty.hdr")

    def test_folder(self):
        (self.folder / "folder.hdr").mkdir()
        self.assert_refused(self.folder / "folder.hdr")

    def test_foreign(self):
        for name, content in {"text.hdr": b"just a text\n" * 100, "program.cab": CWCABVIEW.read_bytes()[:100_000],
                              "noise.hdr": os.urandom(100_000)}.items():
            (self.folder / name).write_bytes(content)
            self.assert_refused(self.folder / name)

    def test_foreign_database(self):
        database = sqlite3.connect(self.folder / "other.hdr")
        database.execute("CREATE TABLE feature (id)")
        database.commit()
        database.close()
        self.assert_refused(self.folder / "other.hdr")

    def test_truncated_at_every_size(self):
        content = SAMPLE.read_bytes()
        header = self.folder / "cut.hdr"
        for share in range(1, 20):
            header.write_bytes(content[:len(content) * share // 20])
            self.assert_refused(header)

    def test_unreadable(self):
        header = self.sample_copy()
        header.chmod(0)
        self.folder.chmod(0o755)

        def as_nobody():
            limited()
            if os.geteuid() == 0:
                os.setgroups([])
                os.setgid(65534)
                os.setuid(65534)

        self.assert_refused(header, 5, before_start=as_nobody)

    def test_pipe(self):
        os.mkfifo(self.folder / "pipe.hdr")
        self.assert_refused(self.folder / "pipe.hdr")

    def test_device(self):
        os.symlink("/dev/zero", self.folder / "zero.hdr")
        self.assert_refused(self.folder / "zero.hdr")

    def test_ten_gigabytes_of_nothing(self):
        with open(self.folder / "sparse.hdr", "wb") as file:
            file.truncate(10 << 30)
        self.assert_refused(self.folder / "sparse.hdr")

    def test_header_blown_up_to_ten_gigabytes(self):
        header = self.sample_copy()
        with open(header, "r+b") as file:
            file.truncate(10 << 30)
        result = run(CWCAB, "tree", header, timeout=TIME_LIMIT_SECONDS, preexec_fn=limited)
        self.assertIn(result.returncode, (0, 1))

    def test_newer_schema(self):
        text = self.assert_refused(self.changed_header("PRAGMA user_version = 99"))
        self.assertIn("newer", text)

    def test_cycle_among_features(self):
        self.assert_refused(self.changed_header(
            "UPDATE feature SET parent = (SELECT max(id) FROM feature), position = 1000 WHERE id = 1",
            "UPDATE feature SET parent = 1, position = 1001 WHERE id = (SELECT max(id) FROM feature)"))

    def test_feature_that_is_its_own_parent(self):
        self.assert_refused(self.changed_header("UPDATE feature SET parent = id, position = 1000 WHERE id = 2"))

    def test_feature_without_its_parent(self):
        self.assert_refused(self.changed_header("UPDATE feature SET parent = 999999 WHERE id = 2"))

    def test_dangling_references(self):
        for statement in ("UPDATE feature_component SET component = 9999 WHERE position = 0",
                          "UPDATE feature_requirement SET required = 9999",
                          "INSERT INTO setup_type_feature VALUES (1, 9999)",
                          "UPDATE registry_set_component SET component = 9999 WHERE position = 0"):
            with self.subTest(statement):
                self.assert_refused(self.changed_header(statement), 31)

    def test_negative_sizes(self):
        for statement in ("UPDATE volume SET size = -1", "UPDATE volume SET entries = -1"):
            with self.subTest(statement):
                self.assert_refused(self.changed_header(statement), 31)

    def test_missing_table(self):
        self.assert_refused(self.changed_header("DROP TABLE component"))

    def test_missing_column(self):
        self.assert_refused(self.changed_header("ALTER TABLE feature DROP COLUMN on_installed"))

    def test_header_without_its_volumes_still_shows_its_tree(self):
        header = self.folder / "alone.hdr"
        shutil.copy(SAMPLE, header)
        result = run(CWCAB, "tree", header)
        self.assertEqual((result.returncode, result.stderr), (0, ""))
        self.assertEqual(result.stdout, run(CWCAB, "tree", SAMPLE).stdout)

    def test_random_damage_never_hangs_nor_crashes(self):
        import random
        chance = random.Random(20240229)
        content = SAMPLE.read_bytes()
        header = self.folder / "damaged.hdr"
        for _ in range(60):
            damaged = bytearray(content)
            for _ in range(chance.randrange(1, 40)):
                damaged[chance.randrange(len(damaged))] = chance.randrange(256)
            header.write_bytes(damaged)
            result = run(CWCAB, "tree", header, "--expert", "--json", timeout=TIME_LIMIT_SECONDS, preexec_fn=limited)
            self.assertIn(result.returncode, (0, 1), result)
            if result.returncode == 0:
                json.loads(result.stdout)
            else:
                self.assertEqual(result.stderr.count("\n"), 1, result.stderr)

    def test_protected_media_without_its_password(self):
        (self.folder / "password").write_text("secret\n", encoding="utf-8")
        (self.folder / "m.json").write_text('{"Features": []}', encoding="utf-8")
        built = run(CWCAB, "build", self.folder / "m.json", "-o", self.folder, "--name", "safe",
                    "--password-file", self.folder / "password")
        self.assertEqual(built.returncode, 0, built.stderr)
        result = run(CWCAB, "tree", self.folder / "safe.hdr")
        self.assertEqual(result.returncode, 1)
        self.assertIn("password", result.stderr)


if __name__ == "__main__":
    unittest.main()
