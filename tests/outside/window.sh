# shellcheck shell=bash
# Drives the window from outside, as a user's mouse and keyboard do. Sourced by the tests of this folder, which set
# `tessary`, the program, and `pictures`, the folder for pictures, before. Skips the test (77) when a program that it
# needs is not installed.

# shellcheck disable=SC2154

# shellcheck source-path=SCRIPTDIR source=../../scripts/lib.sh
source "$(dirname "${BASH_SOURCE[0]}")/../../scripts/lib.sh"

for program in Xvfb:xvfb openbox:openbox xdotool:xdotool import:imagemagick; do
  command -v "${program%%:*}" >/dev/null || {
    echo "Skipped: ${program%%:*} is not installed (package ${program#*:})."
    exit 77
  }
done

stage=start

report_and_clean_up() {
  local status=$?
  if [ $status -ne 0 ] && [ $status -ne 77 ]; then
    import -window root "$pictures/failed.png" 2>/dev/null || true
    echo "Failed in stage \"$stage\"; the screen then: $pictures/failed.png" >&2
    tail -n 20 "$scratch"/*.log >&2 || true
  fi
  clean_up
}
trap report_and_clean_up EXIT

# wait_for WHAT COMMAND... ends the session when the command has not succeeded within two minutes.
wait_for() {
  wait_until 120 "${@:2}" || die "Waited in vain: $1"
}

# ---- What is seen --------------------------------------------------------------------------------------------

screen() { import -window root rgb:- | cksum; }

# Nothing has changed on the screen for a moment.
is_still() {
  local before
  before=$(screen)
  sleep 0.2
  [ "$(screen)" = "$before" ]
}
differs_from() { [ "$(screen)" != "$1" ]; }

# picture NAME keeps the main window as it is now, with what lies over it.
picture() {
  wait_for "a screen that stands still" is_still
  import -window root -crop "$((WIDTH + 2))x$((HEIGHT + 27))+$((X - 1))+$((Y - 20))" +repage "$pictures/$1.png"
}

windows_of() { xdotool search --onlyvisible --pid "$1" 2>/dev/null; }
title_is() { [ "$(xdotool getwindowname "$main_window")" = "$1" ]; }
is_active() { [ "$(xdotool getactivewindow 2>/dev/null)" = "$1" ]; }
exists() { [ -e "$1" ]; }
holds_text() { grep -q . "$1"; }
has_ended() { ! kill -0 "$1" 2>/dev/null; }

# Finds a window of the application over the main one: a dialog or a menu.
find_overlay() {
  overlay=$(windows_of "$app" | grep -v -x "$main_window" | tail -n 1)
  [ -n "$overlay" ]
}
no_overlay() { ! find_overlay; }

# Finds the window that the application has beside this one.
find_other_window() {
  other_window=$(windows_of "$app" | grep -v -x "$1" | head -n 1)
  [ -n "$other_window" ]
}

# A dialog that is up and has the keyboard.
wait_for_dialog() {
  wait_for "a dialog" find_overlay
  wait_for "the dialog to get the keyboard" is_active "$overlay"
}
wait_for_main_window() {
  wait_for "the dialog to close" no_overlay
  wait_for "the window to get the keyboard back" is_active "$main_window"
}

# ---- What is done --------------------------------------------------------------------------------------------

# shellcheck disable=SC2086 # a place is two words
click() { xdotool mousemove $1 click 1; }
# shellcheck disable=SC2086
open_menu() {
  xdotool mousemove $1 click 3
  wait_for "a menu" find_overlay
}
press() { xdotool key --clearmodifiers "$@"; }
type_text() { xdotool type --clearmodifiers --delay 20 "$1"; }
# choose_item N takes the N-th item of the menu that is up.
choose_item() {
  local times=$1
  while ((times-- > 0)); do press Down; done
  press Return
}

# ---- What is dragged -----------------------------------------------------------------------------------------

# take_hold_of PLACE presses the button there and moves until the picture of what is dragged is up. A program that
# is busy takes all the moves until then for one, which begins no drag, and tells no other window of them.
take_hold_of() {
  local shown
  shown=$(windows_shown)
  # shellcheck disable=SC2086
  xdotool mousemove $1 mousedown 1
  for _ in 1 2 3 4 5 6; do xdotool mousemove_relative -- 6 2; done
  wait_for "the picture of what is dragged" comes_with_a_move "$shown"
}
comes_with_a_move() {
  [ "$(windows_shown)" -gt "$1" ] || ! xdotool mousemove_relative -- 1 0
}
windows_shown() { xdotool search --onlyvisible --name '' 2>/dev/null | wc -l; }
# carry_to PLACE moves there and waits until the window shows that it would take a drop.
carry_to() {
  local before x y
  read -r x y <<<"$1"
  before=$(screen)
  xdotool mousemove $((x + 12)) $((y + 4)) mousemove $((x + 6)) $((y + 2)) mousemove "$x" "$y"
  wait_for "the window to show where the drop goes" differs_from "$before"
  wait_for "a screen that stands still" is_still
}
let_go() { xdotool mouseup 1; }
# Whether no file was made for another program.
nothing_dragged_out() { [ -z "$(find "$scratch" -path '*/EMU3Drag/*')" ]; }

# ---- Beginning ----------------------------------------------------------------------------------------------

# start_display WIDTHxHEIGHT
start_display() {
  # Without auto-repeat: between the press and the release of a key a busy machine may let any time pass.
  start_virtual_display "$1" -r
  mkdir -p "$scratch/home" "$scratch/tmp"
  mkdir -m 700 "$scratch/runtime"
  export HOME=$scratch/home XDG_CONFIG_HOME=$scratch/home/.config TMPDIR=$scratch/tmp QT_QPA_PLATFORM=xcb
  export XDG_RUNTIME_DIR=$scratch/runtime
  unset QT_QPA_PLATFORMTHEME QT_STYLE_OVERRIDE QT_SCALE_FACTOR
  # Backups are offered before the first change of an image; not in these tests, which make so many.
  mkdir -p "$XDG_CONFIG_HOME/Tessary"
  printf '[Backup]\nOffered=false\n' >"$XDG_CONFIG_HOME/Tessary/Tessary.conf"
  cd "$HOME"
  in_background "$scratch/openbox.log" openbox --sm-disable
  wait_for "the window manager" is_managed
}
is_managed() { xdotool get_num_desktops >/dev/null 2>&1; }

# start_tessary [VARIABLE=VALUE]...
start_tessary() { start_by env "$@" "$tessary"; }
# start_by COMMAND... the program, by a command that becomes it.
start_by() {
  in_background "$scratch/tessary.log" env TESSARY_READY_FILE="$scratch/ready" "$@"
  app=$!
  wait_for "the window" has_window "$app"
  main_window=$(windows_of "$app" | head -n 1)
  wait_for "the window's title" title_is "Tessary"
  wait_for "the keyboard" is_active "$main_window"
  measure_window
}
# Where the window's own area is on the screen, its title bar left out.
measure_window() {
  eval "$(xdotool getwindowgeometry --shell "$main_window" | grep -E '^(WIDTH|HEIGHT)=')"
  xdotool mousemove --window "$main_window" 0 0
  eval "$(xdotool getmouselocation --shell | grep -E '^(X|Y)=')"
}
has_window() { [ -n "$(windows_of "$1")" ]; }

