"""A virtual screen with a window manager, a mouse and a keyboard."""

import os
import pathlib
import re
import signal
import subprocess
import tempfile
import time

from picture import Picture

SCREEN = (1400, 1000)


def wait_until(condition, what, timeout=15.0):
    """Returns the first true value of `condition()`; fails if there is none in time."""
    end = time.monotonic() + timeout
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise AssertionError(f"not within {timeout:g} seconds: {what}")
        time.sleep(0.02)


def stop(process):
    """Terminates a child process and returns its exit status."""
    if process.poll() is None:
        process.send_signal(signal.SIGTERM)
        try:
            process.wait(5)
        except subprocess.TimeoutExpired:
            process.kill()
    return process.wait()


class Desktop:
    def __init__(self, environment=None):
        self.folder = tempfile.TemporaryDirectory(prefix="quillmarch-e2e-")
        self.path = pathlib.Path(self.folder.name)
        self.processes = []
        home = self.path / "home"
        for folder in (home / ".config", home / "Downloads", self.path / "run", self.path / "screen"):
            folder.mkdir(parents=True)
        (self.path / "run").chmod(0o700)
        self.environment = {
            "PATH": os.environ["PATH"],
            "HOME": str(home),
            "XDG_CONFIG_HOME": str(home / ".config"),
            "https_proxy": "http://127.0.0.1:9",  # nothing listens there: no update check leaves the machine
            "XDG_RUNTIME_DIR": str(self.path / "run"),
            "LANG": "C.UTF-8",
            "QT_QPA_PLATFORM": "xcb",
            # For sanitizers: libdbus keeps one allocation until the program ends.
            "LSAN_OPTIONS": f"suppressions={pathlib.Path(__file__).with_name('leaks.txt')}:print_suppressions=0",
            **(environment or {}),
        }
        try:
            self.environment["DISPLAY"] = f":{self._start_screen()}"
            self.start(["openbox", "--sm-disable"], stdout=subprocess.DEVNULL, stderr=subprocess.DEVNULL)
            wait_until(lambda: self._try_xdotool("get_num_desktops"), "the window manager")
        except BaseException:
            self.close()
            raise

    def _start_screen(self):
        read_end, write_end = os.pipe()
        self.processes.append(
            subprocess.Popen(
                ["Xvfb", "-displayfd", str(write_end), "-screen", "0", f"{SCREEN[0]}x{SCREEN[1]}x24"]
                + ["-dpi", "96", "-nolisten", "tcp", "-noreset", "-fbdir", str(self.path / "screen")],
                pass_fds=[write_end],
                stderr=subprocess.DEVNULL,
            )
        )
        os.close(write_end)
        with os.fdopen(read_end) as answer:
            number = answer.readline().strip()
        if not number:
            raise AssertionError("Xvfb found no free display")
        return number

    def close(self):
        for process in reversed(self.processes):
            stop(process)
        self.folder.cleanup()

    def start(self, command, **options):
        """Starts a program on this screen; close() terminates it."""
        process = subprocess.Popen(command, env=self.environment, **options)
        self.processes.append(process)
        return process

    def _try_xdotool(self, *arguments):
        done = subprocess.run(
            ["xdotool", *map(str, arguments)], env=self.environment, capture_output=True, text=True, timeout=30
        )
        return done.stdout.strip() if done.returncode == 0 else ""

    def xdotool(self, *arguments):
        done = subprocess.run(
            ["xdotool", *map(str, arguments)], env=self.environment, capture_output=True, text=True, timeout=30
        )
        if done.returncode != 0:
            raise AssertionError(f"xdotool {arguments}: {done.stderr.strip()}")
        return done.stdout.strip()

    # Windows

    def windows(self, process):
        """The visible windows of a process: their numbers by title."""
        found = self._try_xdotool("search", "--onlyvisible", "--pid", process.pid).split()
        return {self._try_xdotool("getwindowname", number): int(number) for number in found}

    def window(self, process, title):
        return wait_until(lambda: self.windows(process).get(title), f"the window {title!r}")

    def window_named(self, title):
        """A window of any process, also of one that does not state its number."""
        search = ("search", "--onlyvisible", "--name", f"^{re.escape(title)}$")
        return int(wait_until(lambda: self._try_xdotool(*search), f"the window {title!r}"))

    def geometry(self, window):
        """Left, top, width and height without the frame, in screen pixels."""
        # Not by xdotool, which counts the frame of a window twice.
        text = subprocess.run(
            ["xwininfo", "-id", str(window)], env=self.environment, capture_output=True, text=True, timeout=30
        ).stdout
        labels = ("Absolute upper-left X", "Absolute upper-left Y", "Width", "Height")
        values = [re.search(rf"{label}:\s+(-?\d+)", text) for label in labels]
        return tuple(int(value[1]) for value in values) if all(values) else None

    # Mouse and keyboard

    def move(self, x, y):
        self.xdotool("mousemove", round(x), round(y))

    def click(self, x, y, times=1):
        self.xdotool("mousemove", round(x), round(y), "click", "--repeat", times, "--delay", 40, 1)

    def wheel_down(self, x, y, times):
        self.xdotool("mousemove", round(x), round(y), "click", "--repeat", times, "--delay", 10, 5)

    def press(self):
        self.xdotool("mousedown", 1)

    def release(self):
        self.xdotool("mouseup", 1)

    def glide(self, start, end, steps=8):
        """Moves the pointer along a line in steps."""
        for i in range(1, steps + 1):
            self.move(*(a + (b - a) * i / steps for a, b in zip(start, end)))

    def drag(self, start, end):
        self.move(*start)
        self.press()
        self.glide(start, end)
        self.release()

    def key(self, *keys):
        self.xdotool("key", *keys)

    def write(self, text):
        self.xdotool("type", "--delay", 4, text)

    # Screen

    def screen(self):
        return Picture.from_xwd((self.path / "screen" / "Xvfb_screen0").read_bytes())

    def stable_screen(self):
        """The screen when it has stopped changing."""
        last = [self.screen()]

        def is_unchanged():
            time.sleep(0.15)
            now = self.screen()
            same = now.data == last[0].data
            last[0] = now
            return same

        wait_until(is_unchanged, "a screen that does not change")
        return last[0]
