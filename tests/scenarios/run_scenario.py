#!/usr/bin/env python3
# Runs one .scenario file through pelmora-script, once for each front, and
# checks what each printed, how it ended and what it left in the profile;
# the fronts must also agree with each other byte for byte.
#
#   run_scenario.py PELMORA_SCRIPT SCENARIO WORKDIR FRONT...
#
# A scenario file is made of sections, each opened by a line "=== NAME":
#   profile        the profile before the run; its lines end in CR LF
#   script         the script, as pelmora-script reads it
#   stdout         the expected standard output
#   profile-after  the expected profile, its lines ending in CR LF
#   exit N         the expected exit status (0 by default)
#   stderr         text the last line of standard error must contain
# In stdout and profile-after a line "..." stands for any lines, none
# included. In profile \r, \n, \t, \\ and \xHH stand for their bytes. The
# absolute path of the run's folder reads as $WORK in stdout. Lines before
# the first section say what the scenario is about.
import os, re, shutil, subprocess, sys

if len(sys.argv) < 5:
    sys.exit("usage: run_scenario.py PELMORA_SCRIPT SCENARIO WORKDIR FRONT...")
runner, path, work, fronts = os.path.abspath(sys.argv[1]), sys.argv[2], sys.argv[3], sys.argv[4:]


def lines_of(text, eol):
    """The text's lines; an end of line at the very end opens no further line."""
    lines = text.split(eol)
    return lines[:-1] if lines[-1] == "" else lines


def unescape(text):
    """The profile's bytes: \\r, \\n, \\t, \\\\ and \\xHH stand for their bytes."""
    names = {b"r": b"\r", b"n": b"\n", b"t": b"\t"}
    return re.sub(rb"\\(x[0-9A-Fa-f]{2}|.)", lambda m: bytes([int(m[1][1:], 16)]) if len(m[1]) == 3
                  else names.get(m[1], m[1]), text.encode("utf-8", "surrogateescape"), flags=re.S)


sections = {}
for line in lines_of(open(path, encoding="utf-8", errors="surrogateescape", newline="").read(), "\n"):
    if line.startswith("=== "):
        sections[line[4:]] = current = []
    elif sections:
        current.append(line)
if "script" not in sections:
    sys.exit(f"no script in {path}")
status = next((int(name[5:]) for name in sections if name.startswith("exit ")), 0)


def matches(pattern, lines):
    """Whether lines match the pattern, in which "..." stands for any run of lines."""
    if not pattern:
        return not lines
    if pattern[0] == "...":
        return any(matches(pattern[1:], lines[k:]) for k in range(len(lines) + 1))
    return bool(lines) and pattern[0] == lines[0] and matches(pattern[1:], lines[1:])


def run(front):
    """Runs the script through one front in a fresh folder of its own."""
    folder = os.path.join(work, front)
    shutil.rmtree(folder, ignore_errors=True)
    os.makedirs(folder)
    ini = os.path.join(folder, "wsearch.ini")
    if "profile" in sections:
        with open(ini, "wb") as f:
            f.write(unescape("".join(line + "\r\n" for line in sections["profile"])))
    done = subprocess.run([runner, "--front", front, "--ini", "wsearch.ini"], cwd=folder, capture_output=True,
                          input="".join(line + "\n" for line in sections["script"]).encode())
    profile = open(ini, "rb").read().decode("utf-8", "surrogateescape") if os.path.exists(ini) else ""
    out = done.stdout.decode("utf-8", "surrogateescape").replace(os.path.realpath(folder), "$WORK")
    return done.returncode, out, done.stderr.decode("utf-8", "replace"), profile


faults = 0
def fault(front, what):
    global faults
    faults += 1
    print(f"--- {front}: {what}", file=sys.stderr)

runs = [run(front) for front in fronts]
for front, (code, out, err, profile) in zip(fronts, runs):
    if code != status:
        fault(front, f"exit status {code}; stderr:\n{err}")
    if "stdout" in sections and not matches(sections["stdout"], lines_of(out, "\n")):
        fault(front, "stdout does not match; it was:\n" + out)
    if "stderr" in sections and "".join(sections["stderr"]) not in (lines_of(err, "\n") or [""])[-1]:
        fault(front, "stderr does not end as expected:\n" + err)
    if "profile-after" in sections and not matches(sections["profile-after"], lines_of(profile, "\r\n")):
        fault(front, "the profile does not match; it was:\n" + profile)
for front, other in zip(fronts[1:], runs[1:]):
    if (other[0], other[1], other[3]) != (runs[0][0], runs[0][1], runs[0][3]):
        fault(front, f"differs from {fronts[0]}; it printed:\n{other[1]}and left the profile:\n{other[3]}")
if not faults:
    shutil.rmtree(work, ignore_errors=True)
sys.exit(1 if faults else 0)
