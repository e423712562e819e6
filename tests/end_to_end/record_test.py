#!/usr/bin/env python3
"""Recorders that are killed at any moment: what they acknowledged is in the log, and the next one goes on."""
import json
import random
import shutil
import signal
import sqlite3
import subprocess
import threading
import time
import unittest

from support import CWCAB, PATIENCE_SECONDS, FolderTest, run

KILLS = 300
FEWEST_KILLS = 200
SECONDS = 150
KILLS_A_LOOK = 10
FEATURE_LINES = 2
LONGEST_LIFE_SECONDS = 0.04
RECORDS_A_ROUND = 3000


def lines_of_round(number):
    """What a recorder is told in one life; every operation names the round and its place in it."""
    yield json.dumps({"feature": "A", "name": f"Round {number}"})
    yield json.dumps({"feature": "B", "name": "Steps", "parent": "A"})
    for place in range(RECORDS_A_ROUND):
        yield json.dumps({"operation": "OPTYPE_GENERAL", "feature": "B", "action": str(number), "data": str(place)})


class Recorder:
    """A recorder that is told lines in bursts until it is killed; it counts what was acknowledged."""

    def __init__(self, log, number, randomness):
        self.acknowledged = 0
        self.process = subprocess.Popen([str(CWCAB), "record", str(log), "--acknowledge"], stdin=subprocess.PIPE,
                                        stdout=subprocess.PIPE, stderr=subprocess.PIPE)
        self.teller = threading.Thread(target=self.tell, args=(list(lines_of_round(number)), randomness))
        self.listener = threading.Thread(target=self.listen)
        self.teller.start()
        self.listener.start()

    def tell(self, lines, randomness):
        try:
            while lines:
                count = randomness.choice((1, 3, 50, 700))
                # A burst may end within a line.
                text = "".join(line + "\n" for line in lines[:count]).encode()
                cut = randomness.randrange(len(text))
                for part in (text[:cut], text[cut:]):
                    self.process.stdin.write(part)
                    self.process.stdin.flush()
                del lines[:count]
                time.sleep(randomness.choice((0, 0, 0.002)))
        except OSError:
            pass  # it was killed

    def listen(self):
        for line in self.process.stdout:
            if line.endswith(b"\n"):
                self.acknowledged = int(line)

    def wait_for_work(self):
        end = time.monotonic() + PATIENCE_SECONDS
        while self.acknowledged == 0 and self.process.poll() is None and time.monotonic() < end:
            time.sleep(0.001)

    def kill(self):
        self.process.send_signal(signal.SIGKILL)
        self.process.wait()
        self.teller.join()
        self.listener.join()
        for pipe in (self.process.stdin, self.process.stdout, self.process.stderr):
            try:
                pipe.close()
            except OSError:
                pass  # what was not written yet went with the recorder


class Killed(FolderTest):
    def copied(self, log):
        """A copy of the log and of what lies beside it, for readers that may change it."""
        copy = self.folder / "copy"
        shutil.rmtree(copy, ignore_errors=True)
        copy.mkdir()
        for ending in ("", "-wal"):
            beside = log.with_name(log.name + ending)
            if beside.exists():
                shutil.copy(beside, copy / beside.name)
        return copy / log.name

    def rounds_in(self, log):
        """How many operations each round left; fails where one of them is not as it was told."""
        database = sqlite3.connect(self.copied(log))
        try:
            self.assertEqual(database.execute("PRAGMA integrity_check").fetchall(), [("ok",)])
            rows = database.execute(
                "SELECT position, operation, data FROM general_operation WHERE feature = 2 ORDER BY position").fetchall()
        finally:
            database.close()
        counts = {}
        for index, (position, number, place) in enumerate(rows):
            self.assertEqual(position, index)
            self.assertEqual(int(place), counts.setdefault(int(number), 0))
            counts[int(number)] += 1
        return counts

    def rounds_shown(self, log):
        """The same as the viewer shows them, from the log as the recorder left it."""
        before = {path.name: path.read_bytes() for path in self.folder.glob("a.clg*") if path.suffix != ".clg-shm"}
        shown = run(CWCAB, "show", log, "--at", "0/0/0/0", "--json")
        self.assertEqual((shown.returncode, shown.stderr), (0, ""))
        counts = {}
        for row in json.loads(shown.stdout)["rows"]:
            number, place = map(int, row["cells"])
            self.assertEqual(place, counts.setdefault(number, 0))
            counts[number] += 1
        for name, content in before.items():
            self.assertEqual((self.folder / name).read_bytes(), content, name)
        return counts

    def test_what_was_acknowledged_stands(self):
        randomness = random.Random(4711)
        log = self.folder / "a.clg"
        expected = {}
        kills = 0
        with_work = 0
        end = time.monotonic() + SECONDS
        while kills < KILLS and time.monotonic() < end:
            recorder = Recorder(log, kills, randomness)
            # Half of them are at work, the others may not even have begun.
            if kills % 2:
                recorder.wait_for_work()
            time.sleep(randomness.uniform(0, LONGEST_LIFE_SECONDS))
            recorder.kill()
            kills += 1
            if not log.exists():
                self.assertEqual(recorder.acknowledged, 0)
                continue
            counts = self.rounds_in(log)
            acknowledged = max(0, recorder.acknowledged - FEATURE_LINES)
            self.assertGreaterEqual(counts.get(kills - 1, 0), acknowledged)
            for number, count in expected.items():
                self.assertEqual(counts.get(number, 0), count)
            expected = counts
            with_work += acknowledged > 0
            if counts and kills % KILLS_A_LOOK == 0:
                self.assertEqual(self.rounds_shown(log), counts)
            # A log that grows makes looking at it slow, and small ones have more beginnings.
            if sum(counts.values()) > 6000:
                log.unlink()
                log.with_name(log.name + "-wal").unlink(missing_ok=True)
                log.with_name(log.name + "-shm").unlink(missing_ok=True)
                expected = {}
        self.assertGreaterEqual(kills, FEWEST_KILLS)
        self.assertGreater(with_work, FEWEST_KILLS // 5, f"of {kills} recorders")

        ended = subprocess.run([str(CWCAB), "record", str(log)], input=b'{"feature": "A", "name": "End"}\n',
                               capture_output=True, check=False)
        self.assertEqual((ended.returncode, ended.stderr), (0, b""))
        self.assertEqual(self.rounds_in(log), expected)
        self.assertEqual([path.name for path in self.folder.iterdir() if path.name != "copy"], ["a.clg"])

    def test_an_import_that_is_killed_leaves_no_log(self):
        status = self.folder / "root" / "var" / "lib" / "dpkg" / "status"
        status.parent.mkdir(parents=True)
        status.write_text("".join(
            f"Package: p{number}\nStatus: install ok installed\nArchitecture: all\nSection: s\n\n"
            for number in range(3000)), encoding="utf-8")
        log = self.folder / "a.clg"
        command = [str(CWCAB), "import-dpkg", str(log), "--root", str(self.folder / "root")]
        started = time.monotonic()
        self.assertEqual(run(*command).returncode, 0)
        whole = time.monotonic() - started
        log.unlink()
        for part in range(10):
            process = subprocess.Popen(command, stdout=subprocess.DEVNULL)
            time.sleep(whole * part / 10)
            process.kill()
            process.wait()
            if log.exists():
                database = sqlite3.connect(log)
                self.assertEqual(database.execute("SELECT COUNT(*) FROM feature").fetchone(), (3002,))
                database.close()
                log.unlink()


if __name__ == "__main__":
    unittest.main()
