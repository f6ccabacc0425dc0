# A blind player's whole game, heard as a screen reader hears it: a listener
# on the accessibility bus, registered before the program starts, plays by
# real key events sent through the bus's registry and, after each key, waits
# for the focus event a screen reader speaks and checks its text. Run by
# check-screen-reader on a private session and accessibility bus:
#
#   screen_reader_walk.py PELMORA ORCA_LOG
#
# Where ORCA_LOG exists (Orca on the same bus, its log written line by line), each
# moment is also waited for in what Orca says before the next key. Prints
# what was said at each moment; fails at the first thing said wrong.
# Nothing waits against a clock: a loaded machine only makes it slower.
import atexit, contextlib, ctypes, os, pyatspi, re, subprocess, sys, time  # noqa: E401
from collections import namedtuple

from gi.repository import GLib

IDLE = "No game is in play. Choose a game from the game list."
CELL = "table cell"  # the board's focus child: its focus cell as said now
SAYS_CELL = re.compile(r"([A-Z]), row (\d+), column (\d+)(, ringed)?$")
ARROWS = {(0, 1): "Right", (0, -1): "Left", (-1, 0): "Up", (1, 0): "Down"}
# The order in which the hunt for a letter reaches cells it has not heard yet.
SNAKE = [(r, c if r % 2 == 0 else 14 - c) for r in range(15) for c in range(15)]
Focus = namedtuple("Focus", "role name source")
loop = GLib.MainContext.default()
events, seen = [], 0  # the program's focus gains, and how many the walk has looked at
at, ringed, letters = (0, 1), [], {}  # the focus cell, the cells of the word being spelled, the letters heard

# The X server: the window that has the keys, and a hash of the screen, where
# the idle board's shimmer shows and nowhere else.
x11 = ctypes.CDLL("libX11.so.6")
x11.XOpenDisplay.restype = x11.XGetImage.restype = ctypes.c_void_p
display = ctypes.c_void_p(x11.XOpenDisplay(None))


def x_focus(window=ctypes.c_ulong()):  # the window is only where the answer is written
    x11.XGetInputFocus(display, ctypes.byref(window), ctypes.byref(ctypes.c_int()))
    return window.value


def screen_hash():
    root, height = ctypes.c_ulong(x11.XDefaultRootWindow(display)), x11.XDisplayHeight(display, 0)  # a small id
    image = x11.XGetImage(display, root, 0, 0, x11.XDisplayWidth(display, 0), height, ctypes.c_ulong(0xFFFFFFFF), 2)
    # An XImage: width, height, xoffset, format, then the data; bytes per line at 44.
    data, per_line = ctypes.c_void_p.from_address(image + 16).value, ctypes.c_int.from_address(image + 44).value
    digest = hash(ctypes.string_at(data, per_line * height))
    x11.XFree(ctypes.c_void_p(data)), x11.XFree(ctypes.c_void_p(image))
    return digest


def heard(event):
    with contextlib.suppress(Exception):  # the object may have gone while the event travelled
        if event.detail1 == 1 and event.host_application.get_process_id() == app.pid:
            events.append(Focus(event.source.getRoleName(), event.source.name, event.source))


# The next focus gain that want (a role, or a test) accepts; those before it
# are passed over. The same focus told twice running, as the board tells its
# cell again when its window gets the keys back, is one moment.
def focus(want):
    global seen
    while True:
        while seen < len(events):
            e, seen = events[seen], seen + 1
            if (seen < 2 or e[:2] != events[seen - 2][:2]) and (want(e) if callable(want) else e.role == want):
                return e
        loop.iteration(True)


# Waits, with no deadline, for what the walk looks at itself, taking in the bus's events meanwhile.
def poll(done):
    while not done():
        loop.iteration(False)
        time.sleep(0.02)


def key(name):  # by its X name, or an arrow by its step
    pyatspi.Registry.generateKeyboardEvent(x11.XStringToKeysym(ARROWS.get(name, name).encode()), None, pyatspi.KEY_SYM)


def speaks(spoken, text):  # Orca adds the role after a focus's text, or a full stop
    return spoken.rstrip(".") == text.rstrip(".") or spoken.startswith(text + " ")


# A moment said on the bus, printed; with Orca, its log is read on, line by
# line as Orca writes it, until Orca has said it too.
def hear(e, orca_too=True):
    while orca and orca_too:
        start, line = orca.tell(), orca.readline()
        if not line.endswith("\n"):  # the rest is not written yet: read it again whole
            orca.seek(start), time.sleep(0.02)
        elif (m := re.search(r" - SPEECH OUTPUT: '(.*)'\s*\{", line)) and speaks(m[1], e.name):
            return print("%r, by Orca %r" % (e.name, m[1]))
    print(repr(e.name))


# A key (or none), and the focus it brings, which must say what is wanted.
def said(name, want, role=CELL):
    if name: key(name)  # noqa: E701
    e = focus(role)
    assert e.name == want, "%s brought %r, not %r" % (name, e.name, want)
    # The last word's news may be cut short by the win's box, which says it all.
    hear(e, orca_too=not want.endswith(" 0 words left"))
    return e


def window_of(obj):
    return pyatspi.utils.findAncestor(obj, lambda o: o.parent.getRoleName() == "application")


def quiet_through_shimmer(frames=6):
    start, shown = len(events), {screen_hash()}
    poll(lambda: shown.add(screen_hash()) or len(shown) >= frames)
    assert not [e for e in events[start:] if e.role in ("image", CELL)], "the idle board spoke as it shuffled"


# Tabs from control to control until one of the role (and name) has the focus.
# A list tells its current item first, then itself; the board itself, then
# its focus cell; a window given the keys again tells its focus again.
def tab_to(role, name=None):
    for _ in range(18):
        here = next(((e.role, e.name) for e in reversed(events) if e.role not in ("list item", "image")), None)
        key("Tab")
        e = focus(lambda e: e.role not in ("list item", "image") and (e.role, e.name) != here)
        if e.role == role and name in (None, e.name):
            return e
    raise AssertionError("Tab never reached a %s called %r" % (role, name))


# A message box: its text, and Return once the X server has given it the
# keys; the board has the focus back on its cell, unringed, and the window
# the keys.
def message_box(text):
    box = window_of(focus(lambda e: (e.role, e.name) == ("push button", "OK")).source)
    poll(lambda: x_focus() != main_window)
    labels = [o.name for o in pyatspi.utils.findAllDescendants(box, lambda o: o.getRoleName() == "label")]
    assert any(t.startswith(text) for t in labels), "the box says %r, not %r" % (labels, text)
    key("Return")
    assert (back := focus(CELL).name) == "%s, row %d, column %d" % (letters[at], at[0] + 1, at[1] + 1), "back: %r" % back
    poll(lambda: x_focus() == main_window)


# The focus cell moved, a neighbour at a time, says each cell it reaches:
# its letter, row, column, and whether a ring of the word being spelled is on it.
def go(row, col):
    global at
    while at != (row, col):
        key(step := ((row > at[0]) - (row < at[0]), 0) if row != at[0] else (0, (col > at[1]) - (col < at[1])))
        at, e = (at[0] + step[0], at[1] + step[1]), focus(CELL)
        m = SAYS_CELL.match(e.name)
        assert m and (int(m[2]) - 1, int(m[3]) - 1, bool(m[4])) == (*at, at in ringed), "at %s: %r" % (at, e.name)
        letters[at] = m[1]
        hear(e)


# Each letter pressed (Return for the second, Space for the others) on the
# nearest cell heard to hold it, the cells not heard yet walked until one
# does: a press says the cell ringed and the letters so far, the last one
# the word found and the words left (found). A step off the first letter
# and back finds it ringed.
def spell(word, found):
    for i, letter in enumerate(word):
        if i == 1:
            go(at[0], abs(at[1] - 1)), go(*ringed[0])
        while letter not in letters.values():
            go(*next(p for p in SNAKE if p not in letters))
        go(*min((p for p, l in letters.items() if l == letter), key=lambda p: abs(p[0] - at[0]) + abs(p[1] - at[1])))
        ringed.append(at)
        said("Return" if i == 1 else "space", found if i + 1 == len(word) else
             "%s, row %d, column %d, ringed, letters %s" % (letter, at[0] + 1, at[1] + 1, " ".join(word[:i + 1])))
    ringed.clear()


pyatspi.Registry.registerEventListener(heard, "object:state-changed:focused")
app = subprocess.Popen([sys.argv[1]], env=dict(os.environ, QT_LINUX_ACCESSIBILITY_ALWAYS_ON="1"))
atexit.register(app.terminate)
orca = open(sys.argv[2], errors="replace") if os.path.exists(sys.argv[2]) else None

# Start-up: the window is a frame, and the focused board says once that no
# game is in play, then keeps quiet while its letters shuffle, an arrow key
# and all.
assert focus("image").name == "Letter board"
frame = window_of(said(None, IDLE).source)
assert (frame.getRoleName(), frame.name) == ("frame", "Pelmora v1.0"), "the window is %s" % frame
poll(lambda: x_focus() > 1)  # neither none nor the pointer's window
main_window = x_focus()
quiet_through_shimmer()
key((0, 1))
said("Tab", "Word list", lambda e: e.role in ("list", CELL))

# Down on the game list deals its first game and says it; the word list
# says every word as Down reaches it, the first one too.
said("Tab", "Game list", "list")
said("Down", "GARDEN", "list item")
tab_to("list", "Word list")
for word in ("ASTER", "FERN"):
    said("Down", word, "list item")

# The board says its focus cell, the one the arrow reached while it was
# idle. The game's two words are spelled, with a refused letter between
# them, whose box is said.
assert tab_to(CELL).name.endswith(", row 1, column 2"), "the board in play is not on the cell the arrow reached"
spell("ASTER", "ASTER found, 1 word left")
key("space")
message_box("This does not match to any available word")
spell("FERN", "FERN found, 0 words left")
message_box("You have won - you took ")

# The designer is a dialog; once it is left, the board says once that no
# game is in play, then keeps quiet again.
tab_to("push button", "Designer")
key("space")
designer = window_of(focus(lambda e: window_of(e.source).name == "Create Pelmora").source).getRoleName()
assert designer == "dialog", "the designer is a %s" % designer
poll(lambda: x_focus() != main_window)
key("Escape")
focus(lambda e: (e.role, e.name) == ("push button", "Designer"))
poll(lambda: x_focus() == main_window)
hear(tab_to(CELL, IDLE))
quiet_through_shimmer()
assert [e.name for e in events].count(IDLE) == 2, "the idle line was not said once a visit"
spoken = re.findall(r"SPEECH OUTPUT: '(.*)'\s*\{", open(sys.argv[2], errors="replace").read()) if orca else [IDLE] * 2
assert sum(speaks(s, IDLE) for s in spoken) == 2, "Orca did not say the idle line once a visit"
print("screen reader walk: all checks passed")
