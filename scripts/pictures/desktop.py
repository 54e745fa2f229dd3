"""Runs on a computer of the lab, as its desktop: a display with a window manager and a panel, a screen reader, and a
user who clicks. Started by world.py. Obeys one line of JSON after the other on standard input,
[NAME OF A COMMAND, ARGUMENT...], and answers each with one on standard output: {"answer": ...} or {"error": TEXT}.
"""
import json
import os
import pathlib
import re
import signal
import subprocess
import sys
import time

import dbus
import dbus.mainloop.glib
from gi.repository import GLib

import menu_panel
from accessible import AccessibilityBus
from portal import Portal

CONTROL = "quenmar.zolvex.app"

# Seconds.
LIMIT = 20
PICTURE_LIMIT = 10
END_LIMIT = 10
LOOK_INTERVAL = 0.05

# In pixels at scale 1.
WIDTH, HEIGHT = 820, 900  # of the screen
PANEL = 28  # the height of the panel, and the size of its only icon, at the end
STRIP_MARGIN, STRIP_HEIGHT = 6, 396  # around a popover in a picture with the panel
MENU_WIDTH, MENU_HEIGHT = 160, 112  # of a picture with the panel's menu

DOCKED = "the status item is in the panel"
BACKGROUND, PANEL_COLOUR = "#73839a", "0xe8eaee"

TAKING_HOT_KEY = """<?xml version="1.0"?>
<openbox_config xmlns="http://openbox.org/3.4/rc">
  <keyboard>
    <keybind key="C-A-d"><action name="Execute"><command>touch {proof}</command></action></keybind>
  </keyboard>
</openbox_config>
"""


class Failed(Exception):
    """What was to be done did not happen."""


def pump(seconds):
    """Lets the bus deliver what came."""
    context = GLib.MainContext.default()
    end = time.monotonic() + seconds
    while True:
        while context.iteration(False):
            pass
        if time.monotonic() >= end:
            return
        time.sleep(0.005)


def wait(what, condition, limit=LIMIT):
    """The first true value of `condition`."""
    end = time.monotonic() + limit
    while True:
        value = condition()
        if value:
            return value
        if time.monotonic() > end:
            raise Failed(f"{what}: not within {limit} s")
        pump(LOOK_INTERVAL)


class Desktop:
    """Its commands are the methods without an underscore. All processes end with the sandbox that they are in."""

    def __init__(self, scale):
        self._scale = scale
        self._session = dbus.SessionBus()
        self._portal = Portal(self._session)
        self._zolvex = None
        self._log = None
        self._remembered_icon = None
        self._display = self._start_display()
        self._environment = dict(os.environ, DISPLAY=self._display, QT_SCALE_FACTOR=str(scale), XDG_CURRENT_DESKTOP="",
                                 XDG_SESSION_TYPE="x11", QT_QPA_PLATFORM="xcb", WAYLAND_DISPLAY="", NO_AT_BRIDGE="1",
                                 GSETTINGS_BACKEND="memory")
        self._use_font()
        self._start("openbox")
        self._start("xsetroot", "-solid", BACKGROUND)
        self._start_panel()
        self._start("/usr/libexec/at-spi-bus-launcher", "--launch-immediately")
        wait("the bus of screen readers", lambda: self._session.name_has_owner("org.a11y.Bus"))
        self._screen_reader = AccessibilityBus(self._session)

    # What a desktop consists of

    def _start_display(self):
        readable, writable = os.pipe()
        size = f"{WIDTH * self._scale}x{HEIGHT * self._scale}x24"
        subprocess.Popen(["Xvfb", "-displayfd", str(writable), "-screen", "0", size, "-nolisten", "tcp", "-dpi", "96",
                          "-noreset"], pass_fds=[writable], stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                         stderr=subprocess.DEVNULL)
        os.close(writable)
        with os.fdopen(readable) as told:
            number = told.readline().strip()
        if not number:
            raise Failed("Xvfb does not start")
        return ":" + number

    def _use_font(self):
        """The desktop's font; without this it is whatever happens to be installed."""
        file = pathlib.Path(os.environ["XDG_CONFIG_HOME"]) / "fonts.conf"
        file.write_text("""<?xml version="1.0"?>
<!DOCTYPE fontconfig SYSTEM "urn:fontconfig:fonts.dtd">
<fontconfig>
  <include>/etc/fonts/fonts.conf</include>
  <match target="pattern">
    <test name="family"><string>Sans Serif</string></test>
    <edit name="family" mode="prepend" binding="strong"><string>Inter</string></edit>
  </match>
  <match target="pattern">
    <test name="family"><string>sans-serif</string></test>
    <edit name="family" mode="prepend" binding="strong"><string>Inter</string></edit>
  </match>
</fontconfig>
""")
        self._environment["FONTCONFIG_FILE"] = str(file)

    def _start(self, *command):
        return subprocess.Popen(command, env=self._environment, stdin=subprocess.DEVNULL, stdout=subprocess.DEVNULL,
                                stderr=subprocess.DEVNULL)

    def _start_panel(self):
        """One that delivers every click."""
        height = PANEL * self._scale
        self._panel = self._start("trayer", "--edge", "top", "--align", "right", "--width", "100",
                                  "--height", str(height), "--transparent", "true", "--alpha", "0",
                                  "--tint", PANEL_COLOUR)

    def _end_panel(self):
        self._panel.terminate()
        self._panel.wait(END_LIMIT)

    def _xdotool(self, *arguments):
        return subprocess.run(["xdotool", *map(str, arguments)], env=self._environment, capture_output=True, text=True,
                              timeout=LIMIT)

    def _window(self, title="Zolvex"):
        """The visible window of this title, or None."""
        found = self._xdotool("search", "--onlyvisible", "--name", f"^{re.escape(title)}$")
        return found.stdout.split()[0] if found.returncode == 0 and found.stdout.strip() else None

    # Starting and ending the program

    def end_zolvex(self):
        """Ends whichever runs in this session."""
        if self._session.name_has_owner(CONTROL):
            proxy = self._session.get_object("org.freedesktop.DBus", "/org/freedesktop/DBus")
            os.kill(int(proxy.GetConnectionUnixProcessID(CONTROL)), signal.SIGTERM)
            wait("the end of zolvex", lambda: not self._session.name_has_owner(CONTROL), END_LIMIT)
        if self._zolvex:
            self._zolvex.wait(END_LIMIT)
            self._zolvex = None

    def start_zolvex(self, program, log, forgotten):
        """Starts it with the settings that it has, but for the forgotten ones; its log goes to that file."""
        self.end_zolvex()
        file = pathlib.Path(os.environ["XDG_CONFIG_HOME"]) / "zolvex/settings.json"
        settings = json.loads(file.read_text())
        file.write_text(json.dumps({key: value for key, value in settings.items() if key not in forgotten}))
        self._log = pathlib.Path(log)
        with self._log.open("wb") as output:
            self._zolvex = subprocess.Popen([program], env=self._environment, stdin=subprocess.DEVNULL, stderr=output)
        wait("zolvex on the bus", lambda: self._session.name_has_owner(CONTROL))
        self.wait_for_log(DOCKED)

    def wait_for_log(self, text, times=1):
        wait(f'the log line "{text}"', lambda: self._log.read_text(errors="replace").count(text) >= times)

    # What a user does

    def scheme(self, is_dark):
        self._portal.choose(is_dark)
        pump(LOOK_INTERVAL)

    def open(self):
        """Clicks on the icon. The panel takes it some time after it was offered."""
        x, y = (WIDTH - PANEL // 2) * self._scale, PANEL // 2 * self._scale

        def is_there():
            if self._window():
                return True
            self._xdotool("mousemove", x, y, "click", 1)
            pump(0.3)
            return self._window()

        wait("the popover", is_there)
        self.point_elsewhere()

    def rest_on(self, x, y):
        """The pointer, at this place of the popover, until something says what it is."""
        window = wait("the popover", self._window)
        before = self._grab("-window", window)
        self._xdotool("mousemove", "--window", window, x * self._scale, y * self._scale)
        wait("a tooltip", lambda: self._grab("-window", window) != before)

    def point_elsewhere(self):
        self._xdotool("mousemove", WIDTH * self._scale // 4, HEIGHT * self._scale - 20)

    def take_hot_key(self, is_taken):
        """The window manager has the hot key for something else, or does not any more."""
        folder = pathlib.Path(os.environ["XDG_CONFIG_HOME"]) / "openbox"
        folder.mkdir(exist_ok=True)
        file, proof = folder / "rc.xml", folder / "hot-key-pressed"
        file.write_text(TAKING_HOT_KEY.format(proof=proof)) if is_taken else file.unlink()
        subprocess.run(["openbox", "--reconfigure"], env=self._environment, check=True, timeout=LIMIT)

        def has_it():
            proof.unlink(missing_ok=True)
            self._xdotool("key", "ctrl+alt+d")
            pump(0.3)
            return proof.exists()

        wait("the window manager", lambda: has_it() == is_taken)

    def wait_for_window(self, title):
        wait(f'the window "{title}"', lambda: self._window(title))

    def close(self, title):
        self._xdotool("key", "Escape")
        wait(f'the end of the window "{title}"', lambda: not self._window(title))

    def reopen(self):
        """Which lets the program look at what there is now."""
        self.close("Zolvex")
        self.open()

    def press(self, name, role=None):
        """What a screen reader would do to press that button."""
        found = wait(f'a control "{name}"', lambda: self._screen_reader.find(name, role))
        if not found.press():
            raise Failed(f'"{name}" cannot be pressed')
        pump(LOOK_INTERVAL)

    def see(self, text, limit=LIMIT, times=1):
        """Waits until so many things on the screen have a name or a description that begins so."""
        try:
            wait(f'"{text}" on the screen', lambda: self._screen_reader.says(text) >= times, limit)
        except Failed as failure:
            found = [f"{one.role} {one.name} ({one.description})" for one in self._screen_reader.everything()]
            raise Failed(f"{failure}; there is {found}") from None

    # What one sees

    def _grab(self, *options):
        grabbed = subprocess.run(["import", "-silent", *options, "ppm:-"], env=self._environment, capture_output=True,
                                 timeout=PICTURE_LIMIT)
        return grabbed.stdout if grabbed.returncode == 0 else b""

    def _grab_at_rest(self, *options):
        """A picture that is the same a moment later."""
        before = [b""]

        def is_at_rest():
            now = self._grab(*options)
            is_same = now != b"" and now == before[0]
            before[0] = now
            return is_same and now

        return wait("a picture at rest", is_at_rest, PICTURE_LIMIT)

    def _icon(self):
        size = PANEL * self._scale
        return self._grab("-window", "root", "-crop", f"{size}x{size}+{(WIDTH - PANEL) * self._scale}+0")

    def remember_icon(self):
        self._remembered_icon = self._icon()

    def see_another_icon(self):
        """The icon follows the state by looking at it from time to time."""
        wait("another icon", lambda: self._icon() != self._remembered_icon)

    def picture(self, file, title="Zolvex"):
        """The window of this title."""
        window = wait(f'the window "{title}"', lambda: self._window(title))
        pathlib.Path(file).write_bytes(self._grab_at_rest("-window", window))

    def picture_with_panel(self, file):
        """The popover with the part of the panel above it."""
        window = wait("the popover", self._window)
        where = dict(line.split("=") for line in self._xdotool("getwindowgeometry", "--shell", window).stdout.split())
        left = int(where["X"]) - STRIP_MARGIN * self._scale
        size = f"{int(where['WIDTH']) + 2 * STRIP_MARGIN * self._scale}x{STRIP_HEIGHT * self._scale}"
        pathlib.Path(file).write_bytes(self._grab_at_rest("-window", "root", "-crop", f"{size}+{left}+0", "+repage"))

    def picture_of_menu(self, file):
        """What a panel that keeps right clicks to itself shows on one, the popover being closed."""
        self._end_panel()
        settings = menu_panel.start_settings(self._environment)
        wait("the settings of the panel", lambda: self._session.name_has_owner(menu_panel.SETTINGS_NAME))
        self._panel = menu_panel.start(self._environment, self._scale)
        self.wait_for_log(DOCKED, 2)
        pathlib.Path(file).write_bytes(self._grab_menu())
        self._xdotool("key", "Escape")
        self._end_panel()
        settings.terminate()
        self._start_panel()
        self.wait_for_log(DOCKED, 3)

    def _grab_menu(self):
        width, height = MENU_WIDTH * self._scale, MENU_HEIGHT * self._scale
        part = "-window", "root", "-crop", f"{width}x{height}+{WIDTH * self._scale - width}+0", "+repage"
        x, y = (WIDTH - PANEL // 2) * self._scale, PANEL // 2 * self._scale
        bare = [b""]

        def is_open():
            if bare[0] and self._grab(*part) != bare[0]:
                return True
            bare[0] = self._grab_at_rest(*part)
            self._xdotool("mousemove", x, y, "click", 3)
            pump(1)
            return False

        wait("the menu", is_open)
        return self._grab_at_rest(*part)


def obey(desktop, line):
    command, *arguments = json.loads(line)
    try:
        return {"answer": getattr(desktop, command)(*arguments)}
    except (Failed, OSError, subprocess.SubprocessError, dbus.DBusException) as failure:
        return {"error": str(failure)}


def main():
    dbus.mainloop.glib.DBusGMainLoop(set_as_default=True)
    desktop = Desktop(int(sys.argv[1]))
    print(json.dumps({"answer": "ready"}), flush=True)
    loop = GLib.MainLoop()

    def take_line(source, _condition):
        line = source.readline()
        if not line:
            loop.quit()
            return False
        print(json.dumps(obey(desktop, line)), flush=True)
        return True

    GLib.io_add_watch(sys.stdin, GLib.IO_IN | GLib.IO_HUP, take_line)
    loop.run()
    desktop.end_zolvex()


if __name__ == "__main__":
    main()
