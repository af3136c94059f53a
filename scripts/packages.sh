# Sourced by the scripts, in the project's folder: what they need of the machine, and of build/.

need() { # PACKAGE...: installs those of Debian that are missing, as root or through sudo
  if ! command -v dpkg-query >/dev/null; then
    need_programs "$@"
    return
  fi
  missing=
  for package in "$@"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q ' installed$' ||
      missing="$missing $package"
  done
  [ -n "$missing" ] || return 0
  as_root=
  if [ "$(id -u)" -ne 0 ]; then
    command -v sudo >/dev/null || { echo "missing:$missing; root has to install them" >&2; return 1; }
    as_root=sudo
  fi
  echo "installing:$missing" >&2
  $as_root apt-get update -qq >&2 &&
    DEBIAN_FRONTEND=noninteractive $as_root apt-get install -y -qq --no-install-recommends $missing >&2 || {
    echo "could not install:$missing" >&2
    return 1
  }
}

need_programs() { # PACKAGE...: without Debian's packages, what a build needs of them has to be there
  missing=
  for package in "$@"; do
    case $package in
      g++) program=c++ ;;
      ninja-build) program=ninja ;;
      cmake | python3) program=$package ;;
      *) continue ;; # for a test, which says what it lacks
    esac
    command -v "$program" >/dev/null || missing="$missing $program"
  done
  [ -z "$missing" ] || { echo "missing:$missing; this is no Debian, install them by hand" >&2; return 1; }
}

project_version() { sed -n 's/^project(ruvex VERSION \([0-9.]*\) .*/\1/p' CMakeLists.txt; }

logged() { # COMMAND...: what it prints, which goes to a file in $scratch, is shown if it fails
  "$@" >"$scratch/log" 2>&1 || { tail -n 60 "$scratch/log" >&2; echo "$0: failed: $*" >&2; exit 1; }
}

prepare_build() { # makes build/, which holds logs, too
  mkdir -p build 2>/dev/null && [ -w build ] || {
    echo "$PWD/build cannot be written to; $PWD belongs to $(stat -c %U .)" >&2
    return 1
  }
}

configure() { # PRESET OPTION...: a folder whose sources were elsewhere is begun anew
  cache=build/$1/CMakeCache.txt
  if [ -f "$cache" ] && ! grep -qxF "CMAKE_HOME_DIRECTORY:INTERNAL=$PWD" "$cache"; then
    rm -rf "build/$1"
  fi
  cmake --preset "$@"
}

preset() { # NAME: configures, builds, tests
  echo "== $1"
  case $1 in
    clang) need clang-14 libclang-rt-14-dev ;;
    armhf) need g++-arm-linux-gnueabihf qemu-user ;;
    arm64) need g++-aarch64-linux-gnu qemu-user ;;
    s390x) need g++-s390x-linux-gnu qemu-user ;;
  esac
  configure "$1" >"build/$1.log" 2>&1 || { cat "build/$1.log"; return 1; }
  cmake --build --preset "$1" >"build/$1.log" 2>&1 || { tail -n 60 "build/$1.log"; return 1; }
  ctest --preset "$1" -j "$(($(nproc) + 1))" # some of them wait
}
