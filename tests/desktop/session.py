"""A desktop session of its own: home folder, message bus, display; and Vesto in it."""
import contextlib
import json
import os
import pathlib
import shutil
import signal
import subprocess
import tempfile
import time

from gi.repository import GLib

INVOICE = "Énergie du Val EDF\nFacture d'électricité\nDate de facture : 12/10/2026\nMontant 84,20 €\n"
PATIENCE = 60  # s; only a failure takes so long


def until(condition, what, patience=PATIENCE):
    """What `condition` gives once it is true. Meanwhile what the test itself serves on a bus is answered: here, in the
    one thread, since the bindings stand no second one."""
    end = time.monotonic() + patience
    while time.monotonic() < end:
        while GLib.MainContext.default().iteration(False):
            pass
        if value := condition():
            return value
        time.sleep(0.05)
    raise AssertionError(f"waited in vain: {what}")


class Session:
    """Ends with everything that was started in it."""

    def __init__(self, vesto, bus=True, display="x11"):
        self.vesto_program = vesto
        self.desktop_program = os.path.join(os.path.dirname(vesto), "vesto-desktop")
        self.cleanups = contextlib.ExitStack()
        # Short, since a socket's path is.
        self.home = pathlib.Path(tempfile.mkdtemp(prefix="vesto-"))
        self.cleanups.callback(shutil.rmtree, self.home, ignore_errors=True)
        runtime = self.home / "run"
        runtime.mkdir(mode=0o700)
        self.downloads = self.home / "Downloads"
        self.downloads.mkdir()
        self.environment = {
            name: value for name, value in os.environ.items()
            if not name.startswith(("XDG_", "DBUS_", "DISPLAY", "WAYLAND_", "QT_", "SESSION_", "AT_SPI"))}
        self.environment |= {
            "HOME": str(self.home), "XDG_RUNTIME_DIR": str(runtime), "XDG_DATA_HOME": str(self.home / "data"),
            "XDG_CONFIG_HOME": str(self.home / "config"), "XDG_CACHE_HOME": str(self.home / "cache"),
            "LC_ALL": "C.UTF-8", "NO_AT_BRIDGE": "1",
            "LSAN_OPTIONS": f"suppressions={pathlib.Path(__file__).parent / 'leaks.txt'}:print_suppressions=0"}
        try:
            if bus:
                self.start_bus()
            if display == "x11":
                self.start_x11()
            elif display == "wayland":
                self.start_wayland()
        except BaseException:
            self.close()
            raise

    def close(self):
        self.cleanups.close()

    def spawn(self, *words, **more):
        process = subprocess.Popen(words, env=self.environment, **({"stderr": subprocess.DEVNULL} | more))
        self.cleanups.callback(self.end, process)
        return process

    @staticmethod
    def end(process):
        if process.poll() is None:
            process.kill()
        process.wait()

    def start_bus(self):
        config = self.home / "bus.conf"
        services = self.home / "services"
        services.mkdir()
        template = pathlib.Path(__file__).parents[2] / "packaging" / "fr.vesto.Vesto.service.in"
        (services / "fr.vesto.Vesto.service").write_text(
            template.read_text(encoding="utf-8").replace("@program@", self.desktop_program), encoding="utf-8")
        config.write_text(f"""<busconfig><type>session</type><listen>unix:dir={self.home}/run</listen>
<servicedir>{services}</servicedir>
<auth>EXTERNAL</auth><policy context="default"><allow send_destination="*" eavesdrop="true"/>
<allow eavesdrop="true"/><allow own="*"/></policy>
<limit name="service_start_timeout">120000</limit><limit name="auth_timeout">240000</limit></busconfig>""")
        read, write = os.pipe()
        self.bus = self.spawn("dbus-daemon", f"--config-file={config}", f"--print-address={write}", "--nofork",
                              pass_fds=[write])
        os.close(write)
        with os.fdopen(read) as addresses:
            self.environment["DBUS_SESSION_BUS_ADDRESS"] = addresses.readline().strip()

    def start_x11(self):
        read, write = os.pipe()
        self.spawn("Xvfb", "-displayfd", str(write), "-screen", "0", "1280x800x24", "-nolisten", "tcp",
                   "-extension", "GLX", pass_fds=[write], stdout=subprocess.DEVNULL)
        os.close(write)
        with os.fdopen(read) as displays:
            self.environment["DISPLAY"] = ":" + displays.readline().strip()
        self.environment["QT_QPA_PLATFORM"] = "xcb"

    def start_wayland(self):
        self.spawn("weston", "--backend=headless-backend.so", "--socket=wayland-vesto", "--idle-time=0",
                   "--no-config", stdout=subprocess.DEVNULL)
        self.environment["WAYLAND_DISPLAY"] = "wayland-vesto"
        self.environment["QT_QPA_PLATFORM"] = "wayland"
        until((self.home / "run" / "wayland-vesto").exists, "weston's socket")

    def connection(self):
        """To the bus, for one process of Python."""
        import dbus.bus
        return dbus.bus.BusConnection(self.environment["DBUS_SESSION_BUS_ADDRESS"])

    def start_desktop(self, *words, awaited=True):
        with open(self.home / "log", "ab") as log:
            desktop = self.spawn(self.desktop_program, *words, stderr=log, stdout=log)
        if awaited:
            until(lambda: desktop.poll() is not None or self.answers(), "the control socket")
            assert desktop.poll() is None, (self.home / "log").read_text()
        return desktop

    def answers(self):
        return self.status() is not None

    def status(self):
        """What the engine says of itself."""
        done = self.vesto("pending", "--json")
        note = self.home / "data" / "vesto" / "engine.lock"
        return done if done.returncode == 0 and note.exists() and note.read_text().strip() else None

    def vesto(self, *words):
        return subprocess.run([self.vesto_program, *words], env=self.environment, capture_output=True, text=True,
                              check=False, timeout=PATIENCE)

    def lines(self, *words):
        return [json.loads(line) for line in self.vesto(*words, "--json").stdout.splitlines()]

    def watch_downloads(self):
        done = self.vesto("folders", "add", self.downloads)
        assert done.returncode == 0, done.stderr

    def rename_automatically(self):
        for words in (("folders", "auto", self.downloads), ("settings", "set", "autoThreshold", "0.4")):
            done = self.vesto(*words)
            assert done.returncode == 0, done.stderr

    def drop(self, name, content=INVOICE):
        """A file arrives."""
        path = self.downloads / name
        path.write_text(content, encoding="utf-8")
        return path

    def windows(self, title="Vesto"):
        """The visible windows of this title, by X11."""
        done = subprocess.run(["xdotool", "search", "--onlyvisible", "--name", f"^{title}$"], env=self.environment,
                              capture_output=True, text=True, check=False)
        return done.stdout.split()

    def geometry(self, window):
        """Left, top, width and height on the screen; nothing of one that is gone."""
        done = subprocess.run(["xdotool", "getwindowgeometry", "--shell", window], env=self.environment,
                              capture_output=True, text=True, check=False)
        if done.returncode != 0:
            return None
        values = dict(line.split("=") for line in done.stdout.splitlines())
        return tuple(int(values[name]) for name in ("X", "Y", "WIDTH", "HEIGHT"))

    def startup_id(self, window):
        """The token with which it came to the front last."""
        done = subprocess.run(["xprop", "-id", window, "-notype", "_NET_STARTUP_ID"], env=self.environment,
                              capture_output=True, text=True, check=False)
        return done.stdout.partition(" = ")[2].strip().strip('"')

    def windows_of_vesto(self):
        """Its panel, or the welcome of a new user."""
        return self.windows("(Vesto|Bienvenue dans Vesto)")

    def onboard(self):
        """The welcome was seen."""
        config = self.home / "config" / "vesto" / "vesto.conf"
        config.parent.mkdir(parents=True, exist_ok=True)
        config.write_text("[General]\nonboarded=true\n", encoding="utf-8")

    @staticmethod
    def ask_to_end(process, patience=PATIENCE):
        process.send_signal(signal.SIGTERM)
        return process.wait(patience)
