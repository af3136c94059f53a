# Sourced by the transcripts of poll and serve beside other programs: site.csv, values.csv, and what
# starts and ends a server of them.

# Unit 5 has the longest requests that are legal: the coils and inputs, of which every third and
# every fifth are on, and two ranges of registers, which hold 500 times their addresses. Unit 6 has
# each type, in both tables of registers.
awk 'BEGIN {
  point = "P-%d,0,Point %d,%d,%s,%s,%s,%d,NO_UNITS,0,0,0,0,0,0,0,0\n"
  word = "16 Bit Unsigned Integer"
  for (at = 0; at < 2000; ++at) {
    printf point, ++n, n, 5, sprintf("%05d", at + 1), word, "BINARY_OUTPUT", n
    printf "5,%05d,%d\n", at + 1, at % 3 == 0 > "values.csv"
    printf point, ++n, n, 5, 10001 + at, word, "BINARY_INPUT", n
    printf "5,%d,%d\n", 10001 + at, at % 5 == 0 > "values.csv"
  }
  types = word ":65000|16 Bit Signed Integer:-2|32 Bit Unsigned Integer HI/LO:305419896|"
  types = types "32 Bit Unsigned Integer LO/HI:4000000000|32 Bit Signed Integer HI/LO:-123456789|"
  types = types "32 Bit Signed Integer LO/HI:-2|Floating Point HI/LO:21.5|Floating Point LO/HI:-0.001"
  count = split(types, pairs, "|")
  for (table = 30001; table <= 40001; table += 10000) {
    object = table == 30001 ? "ANALOG_INPUT" : "ANALOG_OUTPUT"
    for (at = 0; at < 125; ++at) {
      printf point, ++n, n, 5, table + at, word, object, n
      printf "5,%d,%d\n", table + at, 500 * at > "values.csv"
    }
    for (at = 1; at <= count; ++at) {
      split(pairs[at], pair, ":")
      reference = table + (at < 3 ? at - 1 : 2 * at - 4)
      printf point, ++n, n, 6, reference, pair[1], object, n
      printf "6,%d,%s\n", reference, pair[2] > "values.csv"
    }
  }
}' > site.csv

serve() { # OPTION... FILE: in the background; where it listens are $port and $terminal
  : > told
  ruvexctl serve "$@" > told 2> complaints &
  server=$!
  listeners=$(printf '%s\n' "$@" | grep -c -e '^--listen' -e '^--serial')
  until [ "$(grep -c listening told)" -eq "$listeners" ] || ! kill -0 $server; do sleep 0.02; done
  port=$(sed -n 's/^listening on .*:\([0-9]*\)$/\1/p' told)
  terminal=$(sed -n 's/^listening on \(\/dev\/.*\)/\1/p' told)
}

peer() { # PROGRAM ARGUMENT...: in the background, in Python, until it has said where it is
  : > at
  program=$project/tests/ctl/peers/$1.py
  shift
  /usr/bin/python3 "$program" "$@" > at 2> peer_errors &
  peer=$!
  until [ -s at ] || ! kill -0 $peer; do sleep 0.02; done
}

finish() { # ends the server, which says how many were served
  kill $server
  wait $server || echo "status $?"
  tail -n 2 told
}

end() { # PROCESS...: those of other programs
  kill "$@"
  wait "$@" 2> endings || :
}

compare() { # FILE FILE: prints what differs, in no line that looks like a command of a transcript
  diff "$1" "$2" | sed 's/^/  /'
}
