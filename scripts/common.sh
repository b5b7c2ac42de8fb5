# What the scripts share; sourced, not run.
set -euo pipefail
cd "$(dirname "${BASH_SOURCE[0]}")/.."

# Tools must not depend on the user's language, and without one Wine cannot name files in all letters.
export LC_ALL=C.UTF-8

# Wine works in a folder of its own and leaves the user's alone.
export WINEDEBUG=-all WINEARCH=win64 WINEPREFIX="$PWD/build/wine"

# Starts Wine once and keeps it for a while: every program would else start and end it again.
start_wine() {
  mkdir -p "$WINEPREFIX"
  wineserver -p120 || true  # one may run still
  timeout 120 wineboot -i >/dev/null 2>&1 </dev/null || true
}

say() { printf '\n== %s\n' "$*"; }

# build PRESET [TARGET...]: configures and builds, quietly unless it fails.
build() {
  local preset=$1 log="build/$1.log"
  shift
  mkdir -p build
  if ! { cmake --preset "$preset" && cmake --build --preset "$preset" "${@/#/--target=}"; } \
      >"$log" 2>&1; then
    tail -n 60 "$log" >&2
    echo "The $preset build failed." >&2
    exit 1
  fi
}
