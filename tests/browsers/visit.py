#!/usr/bin/env python3
"""Has a real browser visit pages as its user would, in the home folder that $HOME names.

    visit.py firefox-esr|chromium

Each line of the input is an address to be visited, or "click" for the first link of the page that is
shown. "ready" is printed whenever a page has been loaded. The browser runs until the input ends, or
until five minutes pass without a line; nothing else takes longer than one.
"""
import json
import os
import pathlib
import re
import signal
import socket
import subprocess
import sys
import time

STEP = 60  # seconds
IDLE = 300
HOME = pathlib.Path(os.environ["HOME"])
CONFIGURATION = pathlib.Path(os.environ.get("XDG_CONFIG_HOME", HOME / ".config"))


class Browser:
    """A process in a group of its own, which is ended with its children."""

    def __init__(self, words, pass_fds=()):
        (HOME / "tmp").mkdir()
        with open(HOME / "browser.log", "w") as log:
            self.process = subprocess.Popen(
                words, stdin=subprocess.DEVNULL, stdout=log, stderr=log, pass_fds=pass_fds,
                env=dict(os.environ, TMPDIR=str(HOME / "tmp")), start_new_session=True)
        self.number = 0  # of the last command

    def end(self):
        try:
            self.ask_to_quit()
            self.process.wait()
        finally:
            signal.alarm(0)
            try:
                os.killpg(self.process.pid, signal.SIGKILL)
            except ProcessLookupError:
                pass
            self.process.wait()


class Firefox(Browser):
    """Over Marionette: "LENGTH:[0, number, command, parameters]" on a socket."""

    PREFERENCES = {
        "marionette.port": 0,  # any that is free; the browser writes it into a file
        "remote.prefs.recommended": False,  # they are for tests of sites; this is a user's browser
        "app.update.disabledForTesting": True,
        "browser.startup.homepage_override.mstone": "ignore",
        "browser.startup.page": 0,
        "datareporting.policy.dataSubmissionEnabled": False,
        "termsofuse.bypassNotification": True,
        "toolkit.telemetry.enabled": False,
        # Nothing leaves the machine: the proxy is not there, and loopback needs none.
        "network.proxy.type": 1,
        "network.proxy.http": "127.0.0.1",
        "network.proxy.http_port": 9,
        "network.proxy.ssl": "127.0.0.1",
        "network.proxy.ssl_port": 9,
    }

    def __init__(self):
        folder = HOME / ".mozilla/firefox"
        self.profile = folder / "a1b2c3d4.visits"
        self.profile.mkdir(parents=True)
        (folder / "profiles.ini").write_text(
            f"[Profile0]\nName=visits\nIsRelative=1\nPath={self.profile.name}\nDefault=1\n")
        (self.profile / "user.js").write_text("".join(
            f"user_pref({json.dumps(name)}, {json.dumps(value)});\n"
            for name, value in self.PREFERENCES.items()))
        # By its name: a profile given as a folder has its cache inside, not where caches belong.
        super().__init__(["firefox-esr", "--headless", "--no-remote", "-P", "visits", "--marionette"])

    def connect(self):
        port = self.profile / "MarionetteActivePort"
        while not (port.exists() and re.fullmatch(r"\d+\s*", port.read_text())):
            if self.process.poll() is not None:
                raise ConnectionError("Firefox did not start")
            time.sleep(0.05)
        connection = socket.create_connection(("127.0.0.1", int(port.read_text())))
        self.stream = connection.makefile("rwb")
        self.answer()  # its greeting
        self.command("WebDriver:NewSession")

    def answer(self):
        length = b"0"
        while not length.endswith(b":"):
            length += self.stream.read(1) or b":"
        return json.loads(self.stream.read(int(length[:-1])))  # of nothing, when it has gone

    def command(self, name, **parameters):
        self.number += 1
        text = json.dumps([0, self.number, name, parameters]).encode()
        self.stream.write(b"%d:%s" % (len(text), text))
        self.stream.flush()
        _, _, error, result = self.answer()
        if error:
            raise RuntimeError(f"{name}: {error['message']}")
        return result

    def visit(self, address):
        self.command("WebDriver:Navigate", url=address)

    def click(self):
        link = self.command("WebDriver:FindElement", using="css selector", value="a")
        (element,) = link["value"].values()
        self.command("WebDriver:ElementClick", id=element)

    def ask_to_quit(self):
        self.command("Marionette:Quit", flags=["eAttemptQuit"])


class Chromium(Browser):
    """Over the DevTools protocol: JSON texts that end with a zero byte, on descriptors 3 and 4."""

    def __init__(self):
        commands, self.commands = os.pipe()
        self.events, events = os.pipe()
        self.session, self.rest = {}, b""
        super().__init__(
            ["/bin/sh", "-c", f'exec chromium "$@" 3<&{commands} 4>&{events}', "chromium",
             "--headless=new", "--no-sandbox", "--remote-debugging-pipe", "--no-first-run",
             "--no-default-browser-check", "--password-store=basic", "--disable-gpu",
             "--disable-background-networking", "--disable-component-update", "--disable-sync",
             f"--user-data-dir={CONFIGURATION}/chromium",
             "--host-resolver-rules=MAP * ~NOTFOUND, EXCLUDE 127.0.0.1", "about:blank"],
            pass_fds=(commands, events))
        os.close(commands)
        os.close(events)

    def connect(self):
        pages = []
        while not pages:
            targets = self.command("Target.getTargets")["targetInfos"]
            pages = [each["targetId"] for each in targets if each["type"] == "page"]
        session = self.command("Target.attachToTarget", targetId=pages[0], flatten=True)
        self.session = {"sessionId": session["sessionId"]}
        self.command("Page.enable")

    def message(self):
        while b"\0" not in self.rest:
            read = os.read(self.events, 65536)
            if not read:
                raise ConnectionError("Chromium has gone")
            self.rest += read
        first, self.rest = self.rest.split(b"\0", 1)
        return json.loads(first)

    def command(self, method, **parameters):
        self.number += 1
        command = {"id": self.number, "method": method, "params": parameters, **self.session}
        os.write(self.commands, json.dumps(command).encode() + b"\0")
        while (answer := self.message()).get("id") != self.number:
            pass
        return answer["result"]  # there is none when it failed

    def load(self, method, **parameters):
        self.command(method, **parameters)
        while self.message().get("method") != "Page.loadEventFired":
            pass

    def visit(self, address):
        self.load("Page.navigate", url=address, transitionType="typed")

    def click(self):
        self.load("Runtime.evaluate", expression="document.links[0].click()", userGesture=True)

    def ask_to_quit(self):
        self.session = {}
        self.command("Browser.close")


def stop(*_):
    raise TimeoutError("The browser, or whoever gives the addresses, took too long.")


signal.signal(signal.SIGALRM, stop)
browser = {"firefox-esr": Firefox, "chromium": Chromium}[sys.argv[1]]()
try:
    signal.alarm(STEP)
    browser.connect()
    signal.alarm(IDLE)
    for line in sys.stdin:
        signal.alarm(STEP)
        browser.click() if line.strip() == "click" else browser.visit(line.strip())
        print("ready", flush=True)
        signal.alarm(IDLE)
finally:
    signal.alarm(STEP)
    browser.end()
