# Completion of ruvexctl for fish. The options are those that --help names, so the two cannot differ.

function __ruvexctl_options # each with the first line of what it does
  string match -q -- '*=*' (commandline -ct) && return
  set -l words (commandline -opc)
  $words[1] $words[2] --help 2>/dev/null |
    sed -n 's/^ *\(--[a-z-]*=\{0,1\}\)[A-Z]*  *\(.*\)/\1\t\2/p'
end

function __ruvexctl_values # of the option that is being written
  set -l words (commandline -opc)
  set -l token (commandline -ct)
  set -l option (string replace -r '=.*' '' -- $token)
  set -l before $option=
  set -l values
  switch "$words[2]$option"
    case check--format
      set values text json
    case check--severity
      set values warning error
    case check--ignore
      set before (string match -r '.*[=,]' -- $token)
      set values ($words[1] check --help |
        sed -n 's/^  \([a-z0-9-]*\)  *\(error\|warning\)  .*/\1/p')
    case poll--format
      set values table csv json html
    case show--format
      set values table csv json markdown ede html
    case serve--format
      set values text json
    case serve--units-by
      set values unit address
    case serve--pattern
      set values const count sine
    case serve--writes
      set values refuse accept
    case serve--line
      set values 9600,8E1 19200,8E1 19200,8N1 38400,8E1
    case tidy--encoding
      set values auto utf-8 utf-16 latin1 cp1252
    case tidy--delimiter
      set values auto comma semicolon tab pipe
    case tidy--fill
      set before (string match -r '.*[=,]' -- $token)
      set values unit table units
    case tidy--reference
      set values {0,1,3,4,column,table,function}+{0,1}
  end
  printf '%s\n' $before$values
end

complete -c ruvexctl -n __fish_use_subcommand -f -a 'check show diff tidy poll serve help --help --version'
complete -c ruvexctl -n 'not __fish_use_subcommand; and string match -q -- "-*" (commandline -ct)' \
  -f -a '(__ruvexctl_options)'
complete -c ruvexctl -n 'string match -q -- "--*=*" (commandline -ct)' -f -a '(__ruvexctl_values)'
