# shellcheck shell=bash
# Lets a test of this folder read what the window tells a screen reader, over the desktop's accessibility bus. Sourced
# with the test's own words, before window.sh; starts the test anew on a session bus of its own. Skips the test (77)
# when what it needs is not installed.

# shellcheck disable=SC2154 # those of window.sh

tests_folder=$(cd "$(dirname "${BASH_SOURCE[0]}")" && pwd)

for program in dbus-run-session:dbus gdbus:libglib2.0-bin; do
  command -v "${program%%:*}" >/dev/null || {
    echo "Skipped: ${program%%:*} is not installed (package ${program#*:})."
    exit 77
  }
done

# The distribution's Python has its modules, which need not be the first one.
python=
for candidate in python3 /usr/bin/python3; do
  ! "$candidate" -c 'import gi; gi.require_version("Atspi", "2.0"); import pyatspi' 2>/dev/null || python=$candidate
done
[ -n "$python" ] || {
  echo "Skipped: Python has no module pyatspi (package python3-pyatspi)."
  exit 77
}

# The accessibility bus has its socket below these folders, so that tests which run side by side need their own.
if [ -z "${TESSARY_ON_OWN_BUS:-}" ]; then
  own=$(mktemp -d) status=0
  TESSARY_ON_OWN_BUS=1 XDG_RUNTIME_DIR=$own HOME=$own XDG_CACHE_HOME=$own dbus-run-session -- "$0" "$@" || status=$?
  rm -rf "$own"
  exit $status
fi

# accessible WHAT [WORD]... asks about the window's program; see the script of that name.
accessible() { "$python" "$tests_folder/accessible" "$1" "$app" "${@:2}"; }
place_of() { accessible place "$1"; }
shows() { accessible check "$@"; }

# Has the accessibility bus begin, so that the program finds it. After start_display.
start_accessibility() {
  gdbus call --session --dest org.a11y.Bus --object-path /org/a11y/bus --method org.a11y.Bus.GetAddress \
    >/dev/null 2>"$scratch/bus.log" || {
    echo "Skipped: there is no accessibility bus (package at-spi2-core)."
    exit 77
  }
  export QT_LINUX_ACCESSIBILITY_ALWAYS_ON=1
}
