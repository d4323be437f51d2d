# For the scripts: quiet builds. The caller stands in the project's folder.

# quietly LOG COMMAND...: shows the command's output only when it fails.
quietly() {
  local log=$1
  shift
  if ! "$@" >"$log" 2>&1; then
    cat "$log" >&2
    echo "failed: $*" >&2
    return 1
  fi
}

# build PRESET TARGET: configures where that is due and builds; the logs lie in the build folder.
build() {
  local folder=build/$1
  mkdir -p "$folder"
  if [ ! -e "$folder/build.ninja" ] || [ CMakePresets.json -nt "$folder/build.ninja" ]; then
    quietly "$folder/configure.log" cmake --preset "$1" || return
  fi
  quietly "$folder/build.log" cmake --build --preset "$1" --target "$2"
}
