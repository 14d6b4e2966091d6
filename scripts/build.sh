# Sourced: build PRESET TARGET [COMMAND TO RUN THE TOOLS UNDER...]. Quiet unless something is wrong.
build() {
  local preset=$1 target=$2 log
  shift 2
  log=$(mktemp)
  if ! cmake --preset "$preset" >"$log" 2>&1; then
    cat "$log" >&2
    rm -f "$log"
    return 1
  fi
  rm -f "$log"
  "$@" cmake --build --preset "$preset" --target "$target" -- --quiet
}
