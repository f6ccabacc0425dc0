# Sourced by the desktop test scripts. Gives each run a folder of its own,
# $dir, with a private runtime folder $dir/run (mode 0700, as a session's
# is). At the end every background job the script started is ended by its
# process id and waited for, then whatever $teardown says is done, and then
# every process still named with the folder (a server a job spawned, such
# as Orca's speech server, which one spawned as Orca ends would keep
# forever), until none is left; and the folder goes. Bash does this on TERM
# too, so a test ended by its time limit leaves nothing behind.
set -uo pipefail
export PATH="$PATH:/usr/sbin"  # cupsd and lpadmin live there
dir="$(mktemp -d)"
teardown=""
# The folder's name as a pattern that doesn't match the grep that looks for it.
spawned() { grep -ls "${dir%?}[${dir: -1}]/" /proc/[0-9]*/cmdline; }
trap 'kill $(jobs -p) 2>/dev/null; wait; eval "$teardown"
  while left=$(spawned); do kill ${left//[!0-9$IFS]/} 2>/dev/null; sleep 0.1; done; rm -rf "$dir"' EXIT
mkdir -m 700 "$dir/run"
fail() { echo "FAIL: $*"; exit 1; }
# A test that needs what can't run here says why on one line and exits 77,
# which CTest counts as skipped.
skip() { echo "SKIPPED: $*"; exit 77; }
need() { for tool; do command -v "$tool" >/dev/null || skip "$tool is not installed (scripts/install-deps installs it)"; done; }
# Runs a check until it holds, for as long as process $1 lives; fails once
# the process has ended. There is no deadline: a loaded machine only makes
# the wait longer.
await() { local pid=$1; shift; until "$@"; do kill -0 "$pid" 2>/dev/null || return 1; sleep 0.05; done; }
