"""The real melodrift on the test's display, driven through its accessibility
tree as a screen-reader user would drive it, against a melodrift-service of its
own. Each test gets a fresh home; a failing test leaves a screenshot."""

import os
import shutil
import subprocess
import tempfile
import time
import unittest

import pyatspi

BINARY = os.environ["MELODRIFT_BINARY"]
SERVICE = os.environ["MELODRIFT_SERVICE_BINARY"]
CATALOGUE = os.environ["MELODRIFT_CATALOGUE"]
SCREENSHOTS = os.environ["MELODRIFT_SCREENSHOTS"]


def wait_for(condition, timeout=20.0, what="condition"):
    end = time.monotonic() + timeout
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError("timed out waiting for " + what)
        time.sleep(0.1)


class Service:
    def __init__(self, *options):
        self.process = subprocess.Popen([SERVICE, "--data", CATALOGUE, *options],
                                        stdout=subprocess.PIPE, stderr=subprocess.DEVNULL, text=True)
        self.base = self.process.stdout.readline().strip()

    def watch(self, video_id):
        return self.base + "/watch?v=" + video_id

    def stop(self):
        """Stops it (once); what it printed after its address."""
        if self.process.returncode is None:
            self.process.terminate()
            self.process.wait(timeout=10)
            self.printed = self.process.stdout.read()
            self.process.stdout.close()
        return self.printed


class Melodrift:
    """One run of the program in a home of its own."""

    @staticmethod
    def environment(home):
        """The program's environment in a home of its own."""
        env = dict(os.environ, HOME=home, XDG_CONFIG_HOME=home + "/.config", XDG_CACHE_HOME=home + "/.cache",
                   XDG_RUNTIME_DIR=home + "/.run", QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1",
                   PATH=home + "/bin:" + os.environ["PATH"])
        env.pop("MELODRIFT_SERVICE", None)
        if os.geteuid() == 0:
            env["QTWEBENGINE_DISABLE_SANDBOX"] = "1"
        os.makedirs(home + "/.run", mode=0o700, exist_ok=True)
        return env

    def __init__(self, home, base, *arguments):
        env = self.environment(home)
        self.log = open(home + "/melodrift.log", "ab")
        self.process = subprocess.Popen([BINARY, "--service", base, "--verbose", *arguments],
                                        env=env, stdout=self.log, stderr=subprocess.STDOUT)
        try:
            self.app = wait_for(lambda: self._running() and self._application(), 30,
                                "melodrift in the accessibility tree")
            self.window = wait_for(lambda: self._running() and self.find(pyatspi.ROLE_FRAME, "Melodrift"), 30,
                                   "the main window")
        except BaseException:
            # Not one of the test's runs yet: its log is printed by tearDown all the same.
            self.stop()
            raise

    def _running(self):
        # A program that ended (a sanitizer's report, say) will not show up: no use waiting.
        if self.process.poll() is not None:
            raise AssertionError("melodrift ended with status %d while starting" % self.process.returncode)
        return True

    def _application(self):
        desktop = pyatspi.Registry.getDesktop(0)
        for i in range(desktop.childCount):
            app = desktop.getChildAtIndex(i)
            try:
                if app is not None and app.get_process_id() == self.process.pid:
                    return app
            except Exception:
                pass
        return None

    def find_all(self, role, name=None, root=None, showing=True):
        found = []

        def walk(node):
            try:
                if node.getRole() == role and (name is None or node.name == name) and \
                        (not showing or node.getState().contains(pyatspi.STATE_SHOWING)):
                    found.append(node)
                for i in range(node.childCount):
                    child = node.getChildAtIndex(i)
                    if child is not None:
                        walk(child)
            except Exception:
                pass  # a node that went away while we looked

        walk(root or self.app)
        return found

    def find(self, role, name=None, root=None, showing=True):
        found = self.find_all(role, name, root, showing)
        return found[0] if found else None

    def wait(self, role, name=None, root=None, timeout=20.0):
        return wait_for(lambda: self.find(role, name, root), timeout, "%s %r" % (pyatspi.Role(role), name))

    @staticmethod
    def press(node):
        action = node.queryAction()
        names = [action.getName(i).lower() for i in range(action.nActions)]
        for wanted in ("press", "click", "toggle", "activate"):
            if wanted in names:
                action.doAction(names.index(wanted))
                return
        action.doAction(0)

    @staticmethod
    def click(node):
        """A mouse click in the middle of the node, where a person would click."""
        x, y, w, h = node.queryComponent().getExtents(pyatspi.DESKTOP_COORDS)
        subprocess.run(["xdotool", "mousemove", str(x + w // 2), str(y + h // 2), "click", "1"], check=True)

    def enter(self, node):
        """Focuses the field with a click, then presses Enter on the keyboard."""
        self.click(node)
        wait_for(lambda: node.getState().contains(pyatspi.STATE_FOCUSED), 10, "the field to have the focus")
        pyatspi.Registry.generateKeyboardEvent(0xff0d, None, pyatspi.KEY_SYM)  # Return

    def search(self, words):
        """Types the words into "Search" as a screen reader's user would, then presses Enter."""
        field = self.wait(pyatspi.ROLE_TEXT, "Search")
        field.queryEditableText().setTextContents(words)
        self.enter(field)

    def rows(self, title):
        """The rows (of the results or the downloads) whose description names the title."""
        return [node for role in (pyatspi.ROLE_FILLER, pyatspi.ROLE_PANEL) for node in self.find_all(role)
                if node.description == title]

    def row(self, title, timeout=30.0):
        return wait_for(lambda: next(iter(self.rows(title)), None), timeout, "a row for " + repr(title))

    def ended(self, title, timeout=120):
        """The newest download row of the title, once its job has ended."""
        row = self.row(title)
        wait_for(lambda: {"Done", "Failed"} & set(self.text_of(row)), timeout, title + " to end")
        return row

    def text_of(self, node):
        """The names of every label under the node, in tree order."""
        return [label.name for label in self.find_all(pyatspi.ROLE_LABEL, root=node)]

    def menu_item(self, name):
        """An item of the menu bar's menus, such as "Quit"."""
        return wait_for(lambda: self.find(pyatspi.ROLE_MENU_ITEM, name, showing=False), 10, "menu item " + name)

    def stop(self):
        if self.process.poll() is None:
            self.process.terminate()
            try:
                self.process.wait(timeout=15)
            except subprocess.TimeoutExpired:
                self.process.kill()
                self.process.wait()
        self.log.close()


class DesktopTest(unittest.TestCase):
    """A fresh home (with a desktop whose "open" only writes down its argument)
    and a running service per test."""

    def setUp(self):
        self.home = tempfile.mkdtemp(prefix="melodrift-e2e-")
        os.makedirs(self.home + "/bin")
        opener = self.home + "/bin/xdg-open"
        with open(opener, "w") as f:
            f.write('#!/bin/sh\nprintf "%s\\n" "$1" >> "$HOME/opened"\n')
        os.chmod(opener, 0o755)
        self.service = Service()
        self.runs = []

    def start(self, *arguments):
        run = Melodrift(self.home, self.service.base, *arguments)
        self.runs.append(run)
        return run

    def opened(self):
        try:
            with open(self.home + "/opened", encoding="utf-8") as f:
                return f.read().splitlines()
        except FileNotFoundError:
            return []

    def tearDown(self):
        failed = any(error for _, error in getattr(self._outcome, "errors", [])) or \
            (hasattr(self._outcome, "result") and
             any(t is self for t, _ in self._outcome.result.failures + self._outcome.result.errors))
        if failed:
            os.makedirs(SCREENSHOTS, exist_ok=True)
            shot = os.path.join(SCREENSHOTS, self.id().split(".")[-1] + ".png")
            subprocess.run(["import", "-window", "root", shot], check=False)
            print("screenshot:", shot)
            # Every run of the test writes to the one log, a start that never
            # showed its window too. A sanitizer's report runs to many lines.
            try:
                with open(self.home + "/melodrift.log", encoding="utf-8", errors="replace") as f:
                    print(f.read()[-16000:])
            except FileNotFoundError:
                pass
        for run in self.runs:
            run.stop()
        self.service.stop()
        shutil.rmtree(self.home, ignore_errors=True)
