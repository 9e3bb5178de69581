# shellcheck shell=bash
# Drags with the mouse, as a user does. Sourced by tests of this folder after window.sh.

# take_hold_of PLACE presses the button there and begins to move.
take_hold_of() {
  # shellcheck disable=SC2086
  xdotool mousemove $1 mousedown 1
  for _ in 1 2 3 4 5 6; do xdotool mousemove_relative -- 6 2; done
}
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
