#!/bin/sh
# install.sh PREFIX: installs ruvex and ruvexctl below the folder PREFIX, such as ~/.local or
# /usr/local, which is made where it is missing; root is needed only where PREFIX belongs to root. A
# version of ruvex that an install.sh has put there before is replaced; files of others are refused,
# and nothing is changed then.
# PREFIX/share/ruvex/uninstall.sh removes everything again.
set -eu
export LC_ALL=C

fail() { echo "install.sh: $*" >&2; exit 1; }
[ $# -eq 1 ] || { echo "usage: install.sh PREFIX" >&2; exit 1; }
case $1 in
  -*) echo "usage: install.sh PREFIX" >&2; exit 1 ;;
  /*) prefix=$1 ;;
  *) prefix=$PWD/$1 ;;
esac
cd "$(dirname "$0")"
list=share/ruvex/installed # files, and the folders that were made, below PREFIX

is_ours() { [ -f "$prefix/$list" ] && grep -qxF "$1" "$prefix/$list"; }

files=$(find bin share -type f | sort)
for file in $files; do
  if [ -e "$prefix/$file" ] || [ -L "$prefix/$file" ]; then
    is_ours "$file" || fail "$prefix/$file is there, and was not installed by an install.sh of ruvex"
  fi
done

# Folders from the top down, so that what was made is known even if the next one cannot be.
made=
[ -d "$prefix" ] || { mkdir -m 755 "$prefix"; made=./; }
make_folder() { # below PREFIX
  [ ! -d "$prefix/$1" ] || return 0
  case $1 in */*) make_folder "${1%/*}" ;; esac
  [ -d "$prefix/$1" ] || mkdir -m 755 "$prefix/$1"
  made="$made $1/"
}
for file in $files; do make_folder "${file%/*}"; done

# From here on everything that is, or will be, below PREFIX is in the list: what ends half-way can be
# done again, or removed.
new_list=$prefix/$list.new
trap 'rm -f "$new_list" "$prefix/$file.new"' EXIT
{
  printf '%s\n' $files $made
  [ ! -f "$prefix/$list" ] || cat "$prefix/$list"
} | sort -u >"$new_list"
mv -f "$new_list" "$prefix/$list"

# A file is replaced whole: a program that runs goes on with its own.
for file in $files; do
  cp "$file" "$prefix/$file.new"
  case $file in bin/* | *.sh) chmod 755 "$prefix/$file.new" ;; *) chmod 644 "$prefix/$file.new" ;; esac
  mv -f "$prefix/$file.new" "$prefix/$file"
done

# What an earlier version had and this one has not goes.
{ printf '%s\n' $files && grep '/$' "$prefix/$list" || true; } | sort -u >"$new_list"
grep -vxF -f "$new_list" "$prefix/$list" | while IFS= read -r file; do rm -f "$prefix/$file"; done
chmod 644 "$new_list"
mv -f "$new_list" "$prefix/$list"
echo "installed below $prefix; $prefix/share/ruvex/uninstall.sh removes it"
