#!/bin/sh
# on-a-line.sh SLAVE MASTER EXPECTED [EMULATOR...]: runs the two programs at the ends of a serial line
# of pseudo-terminals and compares what the master prints with the file EXPECTED. 77: skipped.
set -eu

slave=$1 master=$2 expected=$3
shift 3

command -v socat >/dev/null || { echo "skipped: socat is not installed"; exit 77; }
work=$(mktemp -d)
links=
children=
cleanup() {
  for pid in $children; do kill "$pid" 2>/dev/null || true; done
  rm -rf "$work" $links
}
trap cleanup EXIT

socat -d -d pty,raw,echo=0 pty,raw,echo=0 2>"$work/socat" &
children=$!
until [ "$(grep -cs 'PTY is' "$work/socat" || true)" = 2 ]; do sleep 0.1; done

# A port number for each end, at a device path that is free.
ports=
for end in $(sed -n 's/.*PTY is //p' "$work/socat"); do
  port=
  for number in 15 14 13 12 11 10; do
    link=/dev/ttyUSB$((number - 10))
    if ln -s "$end" "$link" 2>/dev/null; then
      port=$number links="$links $link"
      break
    fi
  done
  [ -n "$port" ] || { echo "skipped: no device path can be made for $end"; exit 77; }
  ports="$ports $port"
done

"$@" "$slave" ${ports% *} &
children="$children $!"
# Opening discards what has come before.
until ls -l "/proc/$!/fd" | grep -q /dev/pts/; do sleep 0.1; done
sleep 0.2
"$@" "$master" "${links##* }" 19200,8E1 >"$work/printed"
diff "$expected" "$work/printed"
