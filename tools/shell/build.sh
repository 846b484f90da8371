# What the commands in scripts/ share: how they stop, install, wait for each other and build. Each sources this file
# after it has set `root`, the folder of the sources. Written for the shell of macOS too, which is an old one.

script=scripts/${0##*/}

# tell TEXT: says something on the way; where no one can hear it, the command goes on.
tell() {
  echo "$script: $1" >&2 || true
}

# fail CODE TEXT: says why the command stops, and stops it.
fail() {
  echo "$script: $2" >&2
  exit "$1"
}

# refuse TEXT: the same for arguments that make no sense.
refuse() {
  fail 2 "$1; see $script --help"
}

# no_more [ARGUMENT...]: refuses arguments that nobody asked for.
no_more() {
  [ $# -eq 0 ] || refuse "unknown argument '$1'"
}

# What an interrupted run leaves for the next one.
next_run="goes on where this one stopped"

# interruptible COMMAND...: runs a function; Ctrl-C meanwhile ends the command with a line about what it left.
interruptible() {
  trap 'if [ -t 2 ]; then echo >&2; fi; fail 130 "interrupted; the next run $next_run"' INT
  "$@"
  trap - INT
}

# install_for JOB: makes sure that what a job needs is installed.
install_for() {
  interruptible "$root/scripts/bootstrap" "$1"
}

# must_write PATH...: stops unless those of these paths under the tree that exist may be written.
must_write() {
  local path
  for path in "$@"; do
    if [ -e "$root/$path" ] && [ ! -w "$root/$path" ]; then
      fail 70 "$path may not be written by this user; run as its owner, or remove it"
    fi
  done
}

# hold NAME WORK: from here to `let_go` or the end no other run gets past hold NAME: it says what WORK it waits for.
# Where there is no flock, on macOS, runs at the same time are not kept apart.
hold() {
  mkdir -p "$root/build" 2>/dev/null ||
    fail 70 "the folder build cannot be made: something else has its name, or the tree may not be written by this user"
  must_write build "build/$1.lock"
  exec 9>>"$root/build/$1.lock"
  if command -v flock >/dev/null && ! flock -n 9; then
    tell "waiting for another run that $2 ..."
    flock 9
  fi
}

let_go() {
  exec 9>&-
}

# of_here NAME ENTRY PATH: whether ENTRY of the cache in build/NAME names PATH.
of_here() {
  [ "$(sed -n "s/^$2:INTERNAL=//p" "$root/build/$1/CMakeCache.txt")" -ef "$3" ]
}

# forget_other_place NAME: a folder that was moved or copied with its cache is configured afresh; what else it holds
# stays.
forget_other_place() {
  local folder=$root/build/$1
  [ -e "$folder/CMakeCache.txt" ] || return 0
  if ! of_here "$1" CMAKE_HOME_DIRECTORY "$root" || ! of_here "$1" CMAKE_CACHEFILE_DIR "$folder"; then
    rm -rf "$folder/CMakeCache.txt" "$folder/CMakeFiles" "$folder/built"
  fi
}

# enter NAME: holds build/NAME, and makes sure that it can be worked in.
enter() {
  local folder=build/$1
  hold "$1" "builds in $folder"
  must_write "$folder.log" "$folder" "$folder/CMakeCache.txt" "$folder/.ninja_log" "$folder/built"
  forget_other_place "$1"
}

# configure NAME PRESET [OPTION...]: makes the rules to build in build/NAME.
configure() {
  (cd "$root" && cmake --preset "$2" -B "build/$1" "${@:3}" </dev/null 2>&1)
}

# count: passes ninja's lines on and, at a terminal, shows its counter meanwhile. Ninja's last words are passed on too
# when both are interrupted.
count() {
  local line
  trap '' INT
  while IFS= read -r line; do
    printf '%s\n' "$line"
    if [ -t 2 ] && [[ $line =~ ^\[[0-9]+/[0-9]+\] ]]; then
      printf '\r%s' "${BASH_REMATCH[0]}" >&2
    fi
  done
  if [ -t 2 ]; then
    printf '\r\033[K' >&2
  fi
}

# run_ninja NAME TARGET: builds what is missing of TARGET in build/NAME.
run_ninja() {
  NINJA_STATUS='[%f/%t] ' cmake --build "$root/build/$1" --target "$2" 2>&1 | count
}

# fail_with_log NAME TEXT: shows the log of build/NAME first.
fail_with_log() {
  cat "$root/build/$1.log" >&2
  fail 70 "$2"
}

# build WHAT TIME NAME PRESET TARGET [OPTION...]: builds TARGET in build/NAME. Before the first time it says WHAT it
# builds and the TIME that takes. Standard output is left alone: what the build prints stands in build/NAME.log.
build() {
  interruptible build_folder "$@"
}

build_folder() {
  local name=$3
  enter "$name"
  [ -e "$root/build/$name/built" ] || tell "building $1, once; $2 ..."
  if ! { configure "$name" "$4" "${@:6}" && run_ninja "$name" "$5"; } >"$root/build/$name.log"; then
    fail_with_log "$name" "the build failed"
  fi
  touch "$root/build/$name/built"
  let_go
}
