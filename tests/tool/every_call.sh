#!/bin/sh
# every_call.sh COMMAND...: runs a command, with the name of an output behind it, once for each system
# call that it makes, in which that call fails, and once more, in which the command is killed there.
# Ends with 77 where strace is missing or may not trace.
#
# A run that ends with 0 has written what an undisturbed one writes. After any other, the output is
# that, what stood there before, or missing, and never a part; and nothing else is left in its
# folder, unless the command was killed.
set -eu
strace -o /dev/null true 2>/dev/null || { echo "skipped: strace is missing or may not trace"; exit 77; }

work=$(mktemp -d)
trap 'rm -rf "$work"' EXIT
mkdir "$work/folder"
output=$work/folder/output expected=$work/expected
faults=0 runs=0 ended=0 killed=0

fault() {
  echo "$1: $2"
  faults=$((faults + 1))
}

try() { # what is injected, the command...
  injected=$1
  shift
  echo 'what stood there before' >"$output"
  status=0
  strace -f -qq -o /dev/null -e "inject=$injected" "$@" >/dev/null 2>&1 || status=$?
  runs=$((runs + 1))
  [ "$status" -ne 0 ] || ended=$((ended + 1))
  [ "$status" -ne 137 ] || killed=$((killed + 1))
  content=part
  if [ ! -e "$output" ]; then content=missing
  elif cmp -s "$output" "$expected"; then content=whole
  elif [ "$(cat "$output")" = 'what stood there before' ]; then content=before
  fi
  [ $content != part ] || fault "$injected" "the output is neither what was there nor what is to be"
  [ "$status" -ne 0 ] || [ $content = whole ] || fault "$injected" "status 0, and the output is $content"
  rm -f "$output"
  case $injected in
    *KILL*) rm -f "$work/folder"/.ruvex-* ;;
    *) [ -z "$(ls -A "$work/folder")" ] || fault "$injected" "another file is left behind" ;;
  esac
}

strace -f -qq -o "$work/calls" "$@" "$output" >/dev/null
[ -s "$output" ] || { echo "no output"; exit 1; }
mv "$output" "$expected"
sed 's/^[0-9]* *//; s/(.*//' "$work/calls" | grep -E '^[a-z0-9_]+$' | sort | uniq -c >"$work/counts"
while read -r count name; do
  case $name in execve | exit_group) continue ;; esac
  number=1
  while [ "$number" -le "$count" ]; do
    try "$name:error=EIO:when=$number" "$@" "$output"
    try "$name:signal=KILL:when=$number" "$@" "$output"
    number=$((number + 1))
  done
done <"$work/counts"
echo "$runs runs, of which $ended ended well and $killed were killed: $faults faults"
[ "$faults" -eq 0 ] && [ "$ended" -gt 0 ] && [ $((2 * killed)) -eq "$runs" ]
