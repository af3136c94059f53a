#!/bin/sh
# uninstall.sh: removes what install.sh has put below the folder PREFIX that this script stands in
# (PREFIX/share/ruvex), and the folders that it made, where nothing else has come into them.
set -eu
export LC_ALL=C

cd "$(dirname "$0")/../.."
list=share/ruvex/installed
[ -f "$list" ] || { echo "uninstall.sh: there is no $PWD/$list" >&2; exit 1; }
all=$(sort -r "$list") # what is in a folder comes before it
rm -f "$list"
for path in $all; do
  case $path in
    ./) rmdir "$PWD" 2>/dev/null || true ;;
    */) rmdir "$path" 2>/dev/null || true ;;
    *) rm -f "$path" ;;
  esac
done
echo "ruvex is removed from $PWD"
