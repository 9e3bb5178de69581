# shellcheck shell=bash
# What the scripts share: packages, quiet builds, a display of their own. Read with `source`, from bash 3.2 on.
# The caller's folder becomes the project's. What a script starts with `in_background` ends with it.

set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

say() { printf '%s\n' "$*" >&2; }
die() {
  say "$*"
  exit 1
}

# ---- What is started ends with the script --------------------------------------------------------------------

children=()
scratch=$(mktemp -d) # for files that nobody needs afterwards

clean_up() {
  local index pid
  # The last started goes first: a program before the display that it is on.
  for ((index = ${#children[@]} - 1; index >= 0; index--)); do
    pid=${children[index]}
    kill "$pid" 2>/dev/null || true
    wait "$pid" 2>/dev/null || true
  done
  rm -rf "$scratch"
}
trap clean_up EXIT
trap 'exit 130' INT
trap 'exit 143' TERM

# in_background LOG COMMAND... leaves the process id in $!.
in_background() {
  local log=$1
  shift
  "$@" >"$log" 2>&1 &
  children+=($!)
}

# wait_until SECONDS COMMAND... is false when the time is over before the command has succeeded.
wait_until() {
  local tries=$(($1 * 10))
  shift
  until "$@"; do
    ((tries-- > 0)) || return 1
    sleep 0.1
  done
}

# ---- Packages ------------------------------------------------------------------------------------------------

debian_packages() {
  case $1 in
    build) echo build-essential cmake ninja-build qt6-base-dev qt6-svg-dev libcli11-dev nlohmann-json3-dev portaudio19-dev ;;
    tests) echo libgtest-dev libgmock-dev libfuse3-dev fuse3 pkg-config openbox dbus libglib2.0-bin at-spi2-core \
      python3-pyatspi shared-mime-info desktop-file-utils ;;
    lint) echo clang clang-format clang-tidy desktop-file-utils appstream git ;;
    wayland) echo qt6-wayland ;;
    display) echo xvfb fonts-dejavu-core ;;
    picture) echo imagemagick xdotool ;;
    package) echo git dpkg-dev debhelper lintian ;;
    bare) echo debootstrap util-linux ;;
  esac
}

install_debian_packages() {
  local package missing=() as_root=()
  for package in "$@"; do
    [ "$(dpkg-query -W -f='${db:Status-Status}' "$package" 2>/dev/null)" = installed ] || missing+=("$package")
  done
  [ ${#missing[@]} -gt 0 ] || return 0

  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || die "Not installed: ${missing[*]}. Install them as root: apt-get install ${missing[*]}"
    as_root=(sudo)
  fi
  as_root+=(env DEBIAN_FRONTEND=noninteractive)
  say "Installing ${missing[*]}…"
  if ! { "${as_root[@]}" apt-get update &&
    "${as_root[@]}" apt-get install -y --no-install-recommends "${missing[@]}"; } \
    </dev/null >build/packages.log 2>&1; then
    tail -n 20 build/packages.log >&2
    die "Installing failed; the whole log is build/packages.log."
  fi
}

# The programs of a set that are missing, one a line, by the name of what has to be installed.
missing_programs() {
  local entry
  [ "$(uname -s)" != Darwin ] || [ "$1" = build ] || [ "$1" = lint ] || return 0 # no X server is needed there
  case $1 in
    build) set -- cmake:cmake ninja:ninja "c++:a C++20 compiler" ;;
    lint)
      set -- clang++:clang clang-format:clang-format clang-tidy:clang-tidy desktop-file-validate:desktop-file-utils \
        appstreamcli:AppStream
      ;;
    tests) set -- openbox:openbox ;;
    display) set -- Xvfb:Xvfb ;;
    picture) set -- import:ImageMagick xdotool:xdotool ;;
    *) set -- ;;
  esac
  for entry in "$@"; do
    command -v "${entry%%:*}" >/dev/null || echo "${entry#*:}"
  done
}

missing_libraries() {
  local tests=OFF set_name
  for set_name in "$@"; do
    [ "$set_name" != tests ] || tests=ON
  done
  cmake -G Ninja -S scripts/needs -B build/needs -DTESTS=$tests >build/needs.log 2>&1 ||
    die "$(tail -n 20 build/needs.log)"
  cat build/needs/missing
}

# Names what is missing, and ends the script when anything is.
name_missing() {
  local set_name missing formulas="cmake ninja qt cli11 nlohmann-json portaudio"
  missing=$(for set_name in "$@"; do missing_programs "$set_name"; done)
  [ -n "$missing" ] || missing=$(missing_libraries "$@")
  [ -n "$missing" ] || return 0
  say "Not installed:"
  printf '%s\n' "$missing" | sed 's/^/  /' >&2
  if [ "$(uname -s)" = Darwin ]; then
    case $missing in *compiler*) say "Apple's command line tools: xcode-select --install" ;; esac
    case " $* " in *" tests "*) formulas="$formulas googletest" ;; esac
    say "With Homebrew: brew install $formulas"
  fi
  exit 1
}

# need SET... sees to it that these sets of packages are here; says nothing when they are.
need() {
  local set_name packages=()
  mkdir -p build
  if command -v apt-get >/dev/null && command -v dpkg-query >/dev/null; then
    for set_name in "$@"; do
      # shellcheck disable=SC2207 # package names hold no spaces
      packages+=($(debian_packages "$set_name"))
    done
    install_debian_packages "${packages[@]}"
  else
    name_missing "$@"
  fi
}

# ---- Building ------------------------------------------------------------------------------------------------

processors() { getconf _NPROCESSORS_ONLN 2>/dev/null || echo 2; }

# nothing_to_build PRESET TARGET
nothing_to_build() {
  [ -f "build/$1/build.ninja" ] || return 1
  case $(ninja -C "build/$1" -n "$2" 2>/dev/null) in
    *"no work to do"*) return 0 ;;
    *) return 1 ;;
  esac
}

# build PRESET [--target TARGET] [OPTION...] configures and builds a preset, its output kept for the case that it
# fails.
build() {
  local preset=$1 target=all log=build/$1.log
  shift
  if [ "${1:-}" = --target ]; then
    target=$2
    shift 2
  fi
  ! nothing_to_build "$preset" "$target" || return 0
  say "Building ($preset)…"
  if command -v ccache >/dev/null; then
    # What was compiled in one copy of the project serves the next, wherever it lies.
    export CMAKE_CXX_COMPILER_LAUNCHER=ccache CCACHE_BASEDIR=$PWD CCACHE_NOHASHDIR=1 \
      CCACHE_SLOPPINESS=pch_defines,time_macros
  fi
  if ! { cmake --preset "$preset" "$@" && cmake --build --preset "$preset" --target "$target"; } >"$log" 2>&1; then
    grep -E -A 15 'error|Error|FAILED' "$log" | head -n 60 >&2 || tail -n 40 "$log" >&2
    die "Building failed; the whole log is $log."
  fi
}

# ---- A display -----------------------------------------------------------------------------------------------

has_display() {
  [ "$(uname -s)" = Darwin ] || [ -n "${DISPLAY:-}" ] || [ -n "${WAYLAND_DISPLAY:-}" ]
}

# start_virtual_display [WIDTHxHEIGHT [OPTION...]] starts an X server that nobody sees, on a display number that is free,
# and makes it this script's display.
start_virtual_display() {
  local size=${1:-1280x960} log=$scratch/xvfb.log number
  number=$(mktemp "$scratch/display.XXXXXX")
  # -noreset: otherwise the server starts afresh whenever its last client leaves, and refuses the next one meanwhile.
  in_background "$log" Xvfb "${@:2}" -noreset -displayfd 3 -screen 0 "${size}x24" -nolisten tcp 3>"$number"
  wait_until 60 test -s "$number" || die "The virtual X server did not start: $(tail -n 20 "$log")"
  unset WAYLAND_DISPLAY
  DISPLAY=:$(<"$number")
  export DISPLAY
}
