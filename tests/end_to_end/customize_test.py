"""Toolbars, keys and looks, changed in a real window and there again at the next start."""
import time
import unittest

from support import HIGHLIGHT, SAMPLE, SCREEN_WIDTH, MediaWindowTest, wait_for

DIALOG = "^Customize$"
ABOUT = "^About "
# Of the menu bar, behind its last popup; of the first toolbar, on its first button and behind its last.
MENU_BAR = (600, 8)
FIRST_BUTTON = (16, 35)
BEHIND_BUTTONS = (400, 35)
CATEGORY_HELP = 4
COMMAND_ABOUT = 1
# Wider than a category, narrower than a command.
WIDTH_OF_A_COMMAND = 150


class Customize(MediaWindowTest):
    def open(self, file=SAMPLE):
        process = super().open(file)
        self.main = self.display.window(file.name)
        return process

    def click_window(self, place, button=1):
        self.display.xdotool("mousemove", "--window", self.main, *map(str, place), "click", str(button))

    def customize(self):
        self.click_window(MENU_BAR, button=3)
        # The menu has to be up before it can be used.
        time.sleep(0.5)
        self.display.key("c")
        self.display.window(DIALOG)

    def leave(self):
        self.display.key("Escape")
        wait_for("the dialog to go", lambda: not self.display.windows(DIALOG))
        self.display.window(SAMPLE.name)

    def choose_about(self):
        """Chooses the command on the page of commands."""
        self.display.key("alt+g", "Home", *["Down"] * CATEGORY_HELP, "alt+o", *["Down"] * COMMAND_ABOUT)

    def sees_about(self):
        self.display.window(ABOUT)
        self.display.key("Return")
        wait_for("the box to go", lambda: not self.display.windows(ABOUT))
        self.display.window(SAMPLE.name)

    def restart(self, process):
        self.close(process, SAMPLE.name)
        self.assertEqual(self.errors(), "")
        return self.open()

    def test_a_key_is_there_again(self):
        process = self.open()
        self.customize()
        self.display.key("ctrl+Tab", "alt+g", "End", "alt+o", *["Down"] * COMMAND_ABOUT, "alt+n", "ctrl+shift+b",
                         "Return")
        self.leave()
        self.display.key("ctrl+shift+b")
        self.sees_about()
        process = self.restart(process)
        self.display.key("ctrl+shift+b")
        self.sees_about()
        # Taken away again, nothing is kept.
        self.customize()
        self.display.key("ctrl+Tab", "alt+g", "End", "alt+o", *["Down"] * COMMAND_ABOUT, "alt+v")
        self.leave()
        self.close(process, SAMPLE.name)
        self.assertNotIn("State", self.settings())

    def test_a_toolbar_is_there_again_and_its_buttons_work(self):
        process = self.open()
        self.customize()
        self.choose_about()
        self.display.key("alt+a")
        self.leave()
        self.click_window(FIRST_BUTTON)
        self.sees_about()
        process = self.restart(process)
        self.click_window(FIRST_BUTTON)
        self.sees_about()
        # The menu of the bars hides it.
        before = self.display.picture()
        self.click_window(BEHIND_BUTTONS, button=3)
        time.sleep(0.5)
        self.display.key("Down", "Return")
        self.changed_picture(before)
        self.close(process, SAMPLE.name)
        self.assertRegex(self.settings(), r"shown\W+false")

    def test_a_command_is_dragged_onto_the_toolbar_in_the_window(self):
        process = self.open()
        self.customize()
        self.display.key("alt+a")
        self.choose_about()
        # A row with the focus has another colour.
        self.display.key("alt+g")
        x, y = wait_for("the chosen command", self.chosen_command)
        self.display.xdotool("mousemove", "--sync", str(x + 20), str(y + 5), "mousedown", "1")
        # A drag is one only when the pointer is seen on its way.
        for step in (30, 60):
            self.display.xdotool("mousemove", "--sync", str(x + step), str(y + 10))
        self.display.xdotool("mousemove", "--sync", "--window", self.main, "5", str(FIRST_BUTTON[1]))
        self.display.xdotool("mousemove", "--sync", "--window", self.main, "3", str(FIRST_BUTTON[1]))
        time.sleep(0.5)
        before = self.display.picture()
        self.display.xdotool("mouseup", "1")
        self.changed_picture(before)
        # While the dialog is open the window does nothing by itself.
        self.click_window(FIRST_BUTTON)
        self.display.window(DIALOG)
        self.leave()
        self.assertEqual(self.display.windows(ABOUT), [])
        self.click_window(FIRST_BUTTON)
        self.sees_about()
        self.close(process, SAMPLE.name)
        self.assertRegex(self.settings(), r"57664\W+57601")

    def chosen_command(self):
        """Where the chosen command begins; what is chosen on the toolbar stands below it."""
        picture = self.display.picture()
        found = picture.find(HIGHLIGHT * WIDTH_OF_A_COMMAND)
        if found < 0:
            return None
        return found // 3 % SCREEN_WIDTH, found // 3 // SCREEN_WIDTH

    def test_looks_are_there_again_and_can_be_reset(self):
        process = self.open()
        self.customize()
        self.display.key("alt+a", "ctrl+Tab", "ctrl+Tab", "alt+u", "alt+l")
        self.leave()
        process = self.restart(process)
        self.assertRegex(self.settings(), r"large_icons\W+true\W+button_text\W+under")
        self.customize()
        self.display.key("ctrl+Tab", "ctrl+Tab", "alt+r")
        time.sleep(0.5)
        self.display.key("alt+y")
        time.sleep(0.5)
        self.leave()
        self.close(process, SAMPLE.name)
        self.assertNotIn("State", self.settings())

    def test_the_menu_of_the_bars_is_reached_by_keys(self):
        process = self.open()
        self.display.key("Alt_L", "shift+F10")
        time.sleep(0.5)
        self.display.key("c")
        self.display.window(DIALOG)
        self.leave()
        self.close(process, SAMPLE.name)

    def test_a_damaged_state_starts_with_what_the_program_brings(self):
        process = self.open()
        self.customize()
        self.display.key("alt+a")
        self.leave()
        process = self.restart(process)
        self.close(process, SAMPLE.name)
        (kept,) = (self.folder / "config").rglob("*.conf")
        text = kept.read_text(encoding="utf-8")
        self.assertIn("toolbars", text)
        damaged = text.replace("toolbars", "toolbar")
        kept.write_text(damaged, encoding="utf-8")
        process = self.open()
        self.click_window(FIRST_BUTTON)
        self.display.key("alt+h", "a")
        self.sees_about()
        self.close(process, SAMPLE.name)
        self.assertEqual(self.errors(), "")
        # Nobody touched it, so it stays until somebody customizes again.
        self.assertEqual(kept.read_text(encoding="utf-8"), damaged)
        process = self.open()
        self.customize()
        self.display.key("alt+a")
        self.leave()
        self.close(process, SAMPLE.name)
        self.assertIn("toolbars", self.settings())


if __name__ == "__main__":
    unittest.main()
