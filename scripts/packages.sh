# Sourced by the scripts: `need PACKAGE...` installs what is missing, as root or through sudo.

need() {
  missing=
  for package in "$@"; do
    dpkg-query -W -f '${Status}' "$package" 2>/dev/null | grep -q ' installed$' ||
      missing="$missing $package"
  done
  [ -n "$missing" ] || return 0
  as_root=
  [ "$(id -u)" -eq 0 ] || as_root=sudo
  echo "installing:$missing" >&2
  $as_root apt-get update -qq >&2 &&
    DEBIAN_FRONTEND=noninteractive $as_root apt-get install -y -qq --no-install-recommends $missing >&2 || {
    echo "could not install:$missing" >&2
    return 1
  }
}
