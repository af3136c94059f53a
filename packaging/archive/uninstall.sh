#!/bin/sh
# uninstall.sh: removes what install.sh has put below the folder PREFIX that this script stands in
# (PREFIX/share/ruvex), and the folders that it made, where nothing else has come into them.
set -eu
export LC_ALL=C

cd "$(dirname "$0")/../.."
list=share/ruvex/installed
[ -f "$list" ] || { echo "uninstall.sh: there is no $PWD/$list" >&2; exit 1; }
files=$(grep -v '/$' "$list")
folders=$(grep '/$' "$list" | sort -r) # what is in a folder comes before it

# List and script go last: what ends half-way can be done again.
for file in $files; do [ "$file" = share/ruvex/uninstall.sh ] || rm -f "$file"; done
rm -f share/ruvex/uninstall.sh "$list"
for folder in $folders; do
  if [ "$folder" = ./ ]; then folder=$PWD; fi
  rmdir "$folder" 2>/dev/null || true
done
echo "ruvex is removed from $PWD"
