# A blind player's whole game, heard as a screen reader hears it: a listener
# on the accessibility bus, registered before the program starts, plays by
# real key events and waits, after each key, for the focus event a screen
# reader speaks, then checks its text. Run by check-screen-reader, which
# gives it a private session and accessibility bus on a display of its own:
#
#   screen_reader_walk.py PELMORA [ORCA_LOG]
#
# With ORCA_LOG (Orca running on the same bus, its log written line by line),
# each moment is also waited for in what Orca says, before the next key.
# Prints what was said for each kind of moment and the time from a key to
# its event (and to Orca's speech); exits 1 on the first thing said wrong.
import os
import re
import statistics
import subprocess
import sys
import time
import ctypes
import datetime

import pyatspi
from gi.repository import GLib

IDLE = "No game is in play. Choose a game from the game list."
GAME = "GARDEN"  # the first of the game list
WORDS = ["ASTER", "FERN"]  # the first game's, as the sorted word list shows them
SAID = "table cell"  # the board's focus child: the focus cell as said now
CELL = re.compile(r"^([A-Z]), row (\d+), column (\d+)(, ringed)?$")

program, orca_log = sys.argv[1], (sys.argv[2] if len(sys.argv) > 2 else "")


class Speech:  # a wait for Orca to say text (a focus adds the role after it)
    def __init__(self, text):
        self.text = text

    def matches(self, spoken):
        return spoken.rstrip(".") == self.text.rstrip(".") or spoken.startswith(self.text + " ")


class Poll:  # a wait for what the walk looks at itself, with no deadline of its own
    def __init__(self, done):
        self.done = done


class Said:  # a focus event: the focused object's role and name
    def __init__(self, event):
        self.gained, self.at, self.source = event.detail1 == 1, time.monotonic(), event.source
        try:
            self.role, self.text = event.source.getRoleName(), event.source.name
        except Exception:  # the object went while the event travelled
            self.role, self.text = "", ""

    def focus(self, role, text=None):
        return self.gained and self.role == role and (text is None or self.text == text)

    def __repr__(self):
        return "[%s] %r" % (self.role, self.text)


def window_of(obj):
    while obj.parent and obj.parent.getRoleName() != "application":
        obj = obj.parent
    return obj


def fail(message):
    print("FAIL: " + message)
    os._exit(1)


def guarded(handler):
    """A callback of the main loop, which would swallow an error and wait on."""
    def run(*args):
        try:
            return handler(*args)
        except Exception as error:
            fail("%s: %s" % (type(error).__name__, error))
    return run


# What the X screen shows, as a hash: the idle board's shimmer is seen there
# and nowhere else, so a new hash means another shuffle was drawn.
x11 = ctypes.CDLL("libX11.so.6")
x11.XOpenDisplay.restype = ctypes.c_void_p
x11.XGetImage.restype = ctypes.c_void_p
x11.XGetImage.argtypes = [ctypes.c_void_p, ctypes.c_ulong] + [ctypes.c_int] * 2 + [ctypes.c_uint] * 2 + \
    [ctypes.c_ulong, ctypes.c_int]
x11.XDefaultRootWindow.restype = ctypes.c_ulong
x11.XDefaultRootWindow.argtypes = [ctypes.c_void_p]
display = x11.XOpenDisplay(None)


def x_focus():
    """The window that has the keys, as the X server says."""
    window, revert = ctypes.c_ulong(), ctypes.c_int()
    x11.XGetInputFocus(ctypes.c_void_p(display), ctypes.byref(window), ctypes.byref(revert))
    return window.value


def screen_hash():
    root = x11.XDefaultRootWindow(display)
    width, height = x11.XDisplayWidth(ctypes.c_void_p(display), 0), x11.XDisplayHeight(ctypes.c_void_p(display), 0)
    image = x11.XGetImage(display, root, 0, 0, width, height, 0xFFFFFFFF, 2)  # ZPixmap
    # XImage: width, height, xoffset, format, then the data; bytes_per_line
    # after byte_order, bitmap_unit, bitmap_bit_order, bitmap_pad, depth.
    data = ctypes.c_void_p.from_address(image + 16).value
    per_line = ctypes.c_int.from_address(image + 44).value
    digest = hash(ctypes.string_at(data, per_line * height))
    x11.XFree(ctypes.c_void_p(data))
    x11.XFree(ctypes.c_void_p(image))
    return digest


class Walk:
    def __init__(self):
        self.events = []      # every event, in order
        self.next = 0         # the first event no wait has looked at yet
        self.delays = []      # seconds from a key to the event it brought
        self.samples = {}     # a kind of moment -> the first text said for it
        self.sent = 0.0
        self.sent_at = None   # the same, by the wall clock Orca's log keeps
        self.wanted = None
        self.frames = None    # while watching the shimmer: hashes seen
        self.moves = 0
        self.orca = open(orca_log, errors="replace") if orca_log else None
        self.orca_delays = []  # seconds from a key to Orca's speech of it
        self.orca_samples = {}
        self.speech = None
        self.steps = self.play()
        self.advance(None)

    def advance(self, value):
        """Runs the walk on to its next wait: an event on the bus, or (with
        Orca) Orca's speech, which is read from its log as it grows."""
        while True:
            try:
                wanted = self.steps.send(value)
            except StopIteration:
                self.wanted = None
                pyatspi.Registry.stop()
                return
            self.wanted = None
            if isinstance(wanted, Speech):
                if not self.orca:
                    value = None
                    continue
                self.speech = wanted
                GLib.timeout_add(20, self.listen_to_orca)
                return
            if isinstance(wanted, Poll):
                GLib.timeout_add(20, self.poll, wanted)
                return
            # Events that came while the walk waited for something else
            # count first.
            value = self.first_of(wanted)
            if value is None:
                self.wanted = wanted
                return

    def first_of(self, wanted):
        while self.next < len(self.events):
            said = self.events[self.next]
            self.next += 1
            if wanted(said):
                return said
        return None

    @guarded
    def poll(self, what):
        if not what.done():
            return True
        self.advance(None)
        return False

    @guarded
    def listen_to_orca(self):
        for line in iter(self.orca.readline, ""):
            m = re.match(r"(\d\d:\d\d:\d\d\.\d+) - SPEECH OUTPUT: '(.*)'\s*\{", line)
            if m and self.speech.matches(m.group(2)):
                at = datetime.datetime.combine(datetime.date.today(), datetime.time.fromisoformat(m.group(1)))
                if self.sent_at:
                    self.orca_delays.append((at - self.sent_at).total_seconds())
                self.speech = None
                self.advance(m.group(2))
                return False
        return True

    def key(self, name):
        self.sent = time.monotonic()
        self.sent_at = datetime.datetime.now()
        pyatspi.Registry.generateKeyboardEvent(
            {"Right": 0xFF53, "Left": 0xFF51, "Up": 0xFF52, "Down": 0xFF54, "Tab": 0xFF09,
             "space": 0x20, "Return": 0xFF0D, "Escape": 0xFF1B}[name], None, pyatspi.KEY_SYM)

    def timed(self, said):
        self.delays.append(said.at - self.sent)
        return said

    @guarded
    def heard_event(self, event):
        try:
            if event.host_application.get_process_id() != self.pid:
                return
        except Exception:
            return
        said = Said(event)
        self.events.append(said)
        if self.frames is not None and said.role in ("image", SAID):
            fail("the idle board spoke while its letters shuffled: %r" % said)
        if self.wanted:
            said = self.first_of(self.wanted)
            if said is not None:
                self.advance(said)

    def watch_shimmer(self, frames):
        """Until the screen has shown that many different boards, the board
        must say nothing."""
        seen = {screen_hash()}
        self.frames = seen

        def enough():
            seen.add(screen_hash())
            if len(seen) < frames:
                return False
            self.frames = None
            return True
        return Poll(enough)

    def keys_go_to(self, main):
        """The window manager has given the keys to the main window (main) or
        to another; a window's own focus events come before that."""
        return Poll(lambda: (x_focus() == self.main_window) == main)

    # ------------------------------------------------------------------
    def play(self):
        # Start-up: the window is a frame, and the focused board says once
        # that no game is in play.
        said = yield lambda s: s.focus("image")
        if said.text != "Letter board":
            fail("the board is called %r" % said.text)
        said = yield lambda s: s.focus(SAID)
        if said.text != IDLE:
            fail("the idle board says %r" % said.text)
        frame = window_of(said.source)
        if frame.getRoleName() != "frame" or frame.name != "Pelmora v1.0":
            fail("the window is a %s called %r" % (frame.getRoleName(), frame.name))
        self.check_names(frame)
        yield from self.heard("idle board", said.text)
        # The shimmer runs, and the board stays quiet through it, keys and all.
        yield Poll(lambda: x_focus() > 1)  # neither none nor the pointer's window
        self.main_window = x_focus()
        yield self.watch_shimmer(6)
        self.key("Right")
        self.key("Tab")
        said = yield lambda s: s.gained and s.role in ("list", SAID)
        if said.role != "list" or said.text != "Word list":
            fail("after an arrow on the idle board came %r" % said)

        # The game list: its first game chosen by Down is said, and dealt.
        self.key("Tab")
        yield lambda s: s.focus("list", "Game list")
        self.key("Down")
        said = self.timed((yield lambda s: s.focus("list item")))
        if said.text != GAME:
            fail("choosing the first game says %r" % said.text)
        yield from self.heard("chosen game", said.text)

        # Round to the word list: every word is said as Down reaches it.
        yield from self.tab_to("list", "Word list")
        for word in WORDS:
            self.key("Down")
            said = self.timed((yield lambda s: s.focus("list item")))
            if said.text != word:
                fail("the word list says %r where %s is" % (said.text, word))
            yield from self.heard("word list", said.text)

        # Tab round to the board: it says its focus cell, the one the arrow
        # moved to while the board was idle.
        said = yield from self.tab_to(SAID)
        if not said.focus(SAID) or not CELL.match(said.text) or CELL.match(said.text).group(2, 3) != ("1", "2"):
            fail("the board in play says %r on the focus" % said)
        yield from self.heard("board in play", said.text)
        self.row, self.col = 0, 1
        self.letters = {}

        # Every cell, row by row in a snake: each move says the cell reached.
        yield from self.move(0, -1)
        for row in range(15):
            for step in range(14):
                yield from self.move(0, 1 if row % 2 == 0 else -1)
            if row < 14:
                yield from self.move(1, 0)
        if len(self.letters) != 225:
            fail("the walk heard %d cells" % len(self.letters))

        # The first word, letter by letter: each press says the cell, ringed,
        # and the letters so far; the last one says the word found.
        yield from self.spell(WORDS[0], words_left=1)
        # A letter that starts no word left: the message box is said, and
        # Enter brings the focus back to the cell, its ring gone.
        wrong = next(cell for cell, letter in sorted(self.letters.items()) if letter != WORDS[1][0])
        yield from self.go(*wrong)
        self.key("space")
        said = yield from self.message_box("This does not match to any available word")
        if said.text != self.cell_text(*wrong):
            fail("back from the refusal the board says %r" % said.text)
        yield from self.spell(WORDS[1], words_left=0)
        yield from self.message_box("You have won - you took ")

        # The designer, opened and left: the shimmer is back, and the board,
        # reached by Tab, says once that no game is in play, then keeps quiet.
        yield from self.tab_to("push button", "Designer")
        self.key("space")
        said = yield lambda s: s.gained and window_of(s.source).name == "Create Pelmora"
        if window_of(said.source).getRoleName() != "dialog":
            fail("the designer is a %s" % window_of(said.source).getRoleName())
        yield self.keys_go_to(main=False)
        self.key("Escape")
        yield lambda s: s.focus("push button", "Designer")
        yield self.keys_go_to(main=True)
        said = yield from self.tab_to(SAID)
        if not said.focus(SAID, IDLE):
            fail("after the designer the board says %r" % said)
        yield from self.heard("idle board after the designer", said.text)
        yield self.watch_shimmer(6)
        idle_lines = [s for s in self.events if s.focus(SAID, IDLE)]
        if len(idle_lines) != 2:
            fail("the idle line was said %d times over two visits" % len(idle_lines))
        if self.orca:
            spoken = re.findall(r"SPEECH OUTPUT: '(.*)'\s*\{", open(orca_log, errors="replace").read())
            times = sum(Speech(IDLE).matches(line) for line in spoken)
            if times != 2:
                fail("Orca said the idle line %d times over two visits" % times)

    def check_names(self, frame):
        """Every control that takes the focus is called by words."""
        code_name = re.compile(r"^[A-Z][a-z]+[0-9]+$|\([0-9]+\)$")
        for obj in pyatspi.utils.findAllDescendants(
                frame, lambda o: o.getState().contains(pyatspi.STATE_FOCUSABLE) and o.getRoleName() != "list item"):
            if not obj.name or code_name.search(obj.name):
                fail("a %s is called %r" % (obj.getRoleName(), obj.name))

    def heard(self, kind, text):
        """What was said for a kind of moment, first time each; with Orca,
        waits until Orca has said it."""
        self.samples.setdefault(kind, text)
        spoken = yield Speech(text)
        if spoken is not None:
            self.orca_samples.setdefault(kind, spoken)

    def tab_to(self, role, name=None):
        """Tab from control to control until one of the role (and name) has
        the focus. A list tells its current item first, then itself; the
        board itself, then its focus cell; a window given the keys again
        tells its focus again, which is not a move."""
        def control(s):
            return s.gained and s.role not in ("list item", "image")
        for _ in range(2 * 9):
            here = next(((s.role, s.text) for s in reversed(self.events) if control(s)), None)
            self.key("Tab")
            said = yield lambda s: control(s) and (s.role, s.text) != here
            if said.focus(role, name):
                return said
        fail("Tab never reached a %s called %r" % (role, name))

    def cell_text(self, row, col, ringed=False):
        return "%s, row %d, column %d%s" % (self.letters[(row, col)], row + 1, col + 1, ", ringed" if ringed else "")

    def move(self, rows, cols):
        self.key({(0, 1): "Right", (0, -1): "Left", (1, 0): "Down", (-1, 0): "Up"}[(rows, cols)])
        said = self.timed((yield lambda s: s.focus(SAID)))
        self.moves += 1
        self.row += rows
        self.col += cols
        m = CELL.match(said.text)
        if not m or (int(m.group(2)) - 1, int(m.group(3)) - 1) != (self.row, self.col):
            fail("moving to row %d, column %d says %r" % (self.row + 1, self.col + 1, said.text))
        self.letters.setdefault((self.row, self.col), m.group(1))
        yield from self.heard("move", said.text)

    def go(self, row, col):
        while self.row != row:
            yield from self.move(1 if self.row < row else -1, 0)
        while self.col != col:
            yield from self.move(0, 1 if self.col < col else -1)

    def spell(self, word, words_left):
        for i, letter in enumerate(word):
            cell = min((c for c, l in self.letters.items() if l == letter),
                       key=lambda c: abs(c[0] - self.row) + abs(c[1] - self.col))
            yield from self.go(*cell)
            self.key("space")
            said = self.timed((yield lambda s: s.focus(SAID)))
            if i + 1 < len(word):
                want = self.cell_text(*cell, ringed=True) + ", letters " + " ".join(word[:i + 1])
            else:
                want = "%s found, %d word%s left" % (word, words_left, "" if words_left == 1 else "s")
            if said.text != want:
                fail("pressing %s says %r, not %r" % (letter, said.text, want))
            # The last word's news may be cut short by the win's box, which
            # comes with the clock's next tick and says it all.
            if words_left or i + 1 < len(word):
                yield from self.heard("press" if i + 1 < len(word) else "found word", want)

    def message_box(self, message):
        said = yield lambda s: s.focus("push button", "OK")
        yield self.keys_go_to(main=False)
        box = window_of(said.source)
        texts = [o.name for o in pyatspi.utils.findAllDescendants(box, lambda o: o.getRoleName() == "label")]
        if not any(t.startswith(message) for t in texts):
            fail("the box says %r, not %r" % (texts, message))
        self.key("Return")
        # The window is active again, and the board has the focus back (it
        # may have had it once before the window manager gave the window the
        # keys again).
        said = yield lambda s: s.focus(SAID)
        yield self.keys_go_to(main=True)
        return said


walk = Walk()
pyatspi.Registry.registerEventListener(walk.heard_event, "object:state-changed:focused")
app = subprocess.Popen([program], env=dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1"))
walk.pid = app.pid
pyatspi.Registry.start()
app.terminate()
app.wait()

for kind, text in walk.samples.items():
    print("bus, %s: %r" % (kind, text))
delays = sorted(walk.delays)
print("key to event over %d keys: median %.1f ms, max %.1f ms" %
      (len(delays), 1000 * statistics.median(delays), 1000 * delays[-1]))

if walk.orca:
    for kind, text in walk.orca_samples.items():
        print("Orca, %s: %r" % (kind, text))
    delays = sorted(walk.orca_delays)
    print("key to Orca's speech over %d keys: median %.1f ms, max %.1f ms" %
          (len(delays), 1000 * statistics.median(delays), 1000 * delays[-1]))
print("screen reader walk: all checks passed")
