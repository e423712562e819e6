"""The Search menu: on real logs without a window, and in a real window by its keys."""
import json
import unittest

from support import CWCAB, SAMPLE, SAMPLE_LOG, MediaWindowTest, run, wait_for

FIND = 32784
FIND_NEXT = 32785
FIND_DIALOG = "^Find$"
MESSAGE = "^Cratewright Cabinet and Log File Viewer$"
NOT_FOUND = "Search item not found"


def session(*commands):
    """The answers of a session to these commands."""
    result = run(CWCAB, "session", "--json", input="".join(command + "\n" for command in commands))
    return [json.loads(line) for line in result.stdout.splitlines()]


class Walks(unittest.TestCase):
    def places(self, text, count):
        """Where a search and those that go on from it come to: the path of texts, the row, the message."""
        commands = [f"open {SAMPLE_LOG}", f"answer find {text}", f"command {FIND}", "tree", "state", "list"]
        for _ in range(count - 1):
            commands += [f"command {FIND_NEXT}", "tree", "state", "list"]
        answers = session(*commands)
        places = []
        for tree, state, shown in zip(answers[3::4], answers[4::4], answers[5::4]):
            items, names = tree["tree"], []
            for place in state["selection"].split("/"):
                names.append(items[int(place)]["text"])
                items = items[int(place)]["children"]
            row = shown["rows"][shown["row"]]["cells"] if shown["row"] is not None else None
            places.append(("/".join(names[2:]), row, [message["text"] for message in state["messages"]]))
        return places

    def test_goes_through_labels_properties_and_records(self):
        self.assertEqual([(path, row and row[0]) for path, row, _ in self.places("help", 2)][0], ("Main/Help", None))
        path, row, messages = self.places("ROUTES.JSON", 1)[0]
        self.assertEqual((path, row[1], messages), ("Main/File Operations", "routes.json", []))

    def test_the_end_is_told_and_told_again(self):
        places = self.places("nowhere to be found", 2)
        self.assertEqual([messages for _, _, messages in places], [[NOT_FOUND], [NOT_FOUND]])

    def test_letters_of_all_scripts_have_their_case(self):
        path, row, _ = self.places("РУССКИЙ", 1)[0]
        self.assertEqual((path, row), ("Languages", ["Chosen", "Русский, 中文"]))


class Window(MediaWindowTest):
    def ask(self, text):
        """Types a text into the dialog of the Search menu."""
        self.display.key("alt+s", "Return")
        self.display.window(FIND_DIALOG)
        self.display.type(text)
        self.display.key("Return")
        wait_for("the dialog to go", lambda: not self.display.windows(FIND_DIALOG))

    def selected_row(self):
        """The selected row of the list, which has the focus."""
        return self.copied("shift+F10", "Return").split("\t")

    def test_find_comes_to_a_row_and_the_key_goes_on_twice(self):
        process = self.open(SAMPLE_LOG)
        self.ask("harbour walks")
        first = self.selected_row()
        self.assertIn("Harbour Walks", " ".join(first))
        # Filter and accelerator both take the key.
        expected = [place[1] for place in Walks().places("harbour walks", 3)]
        self.assertEqual(first, expected[0])
        self.display.key("F3")
        self.assertEqual(self.selected_row(), expected[2])
        self.display.key("alt+s", "Down", "Return")
        fourth = Walks().places("harbour walks", 4)[3][1]
        self.assertEqual(self.selected_row(), fourth)
        self.close(process, SAMPLE_LOG.name)
        self.assertEqual(self.errors(), "")

    def test_the_end_is_told_in_a_message(self):
        process = self.open(SAMPLE_LOG)
        self.ask("nowhere to be found")
        self.display.window(MESSAGE)
        self.display.key("Return")
        wait_for("the message to go", lambda: not self.display.windows(MESSAGE))
        self.close(process, SAMPLE_LOG.name)

    def test_a_dialog_that_is_given_up_searches_nothing(self):
        process = self.open(SAMPLE_LOG)
        self.display.key("alt+s", "Return")
        self.display.window(FIND_DIALOG)
        self.display.type("tour")
        self.display.key("Escape")
        wait_for("the dialog to go", lambda: not self.display.windows(FIND_DIALOG))
        self.display.key("F3")
        self.assertEqual(self.display.windows(MESSAGE), [])
        # The field is empty again.
        self.ask("nowhere")
        self.display.window(MESSAGE)
        self.display.key("Return")
        self.close(process, SAMPLE_LOG.name)

    def test_a_media_is_not_searched(self):
        process = self.open(SAMPLE)
        self.display.key("alt+s", "Return", "Escape", "Escape")
        self.assertEqual(self.display.windows(FIND_DIALOG), [])
        self.close(process, SAMPLE.name)


if __name__ == "__main__":
    unittest.main()
