#!/bin/sh
# replay.sh TRANSCRIPT RUVEX RUVEXCTL [EMULATOR...]: enters the commands of a transcript, the lines
# that begin with "$ ", in a folder of their own that has the files beside the transcript; prints the
# transcript with what they print now, and fails when it is another one.
set -eu

transcript=$1 ruvex=$2 ruvexctl=$3
shift 3
emulator=$*

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
cp "$(dirname "$transcript")"/*.csv "$work"
ruvex() { $emulator "$ruvex" "$@"; }
ruvexctl() { $emulator "$ruvexctl" "$@"; }

grep '^\$ ' "$transcript" >"$work/commands"
(
  cd "$work"
  while IFS= read -r line; do
    printf '%s\n' "$line"
    eval "${line#??}" 2>&1 || true
  done <commands
) >"$work/replayed"
cat "$work/replayed"
diff "$transcript" "$work/replayed"
