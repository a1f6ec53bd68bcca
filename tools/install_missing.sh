# shellcheck shell=bash
# Sourced: installMissing PACKAGE... installs those Debian packages that are not there yet.
installMissing() {
  local package installed missing=() asRoot=()
  # Fails if any package is unknown, yet lists the others.
  installed=" $(dpkg-query -W -f '${Package}=${db:Status-Status} ' "$@" 2>/dev/null || true)"
  for package in "$@"; do
    [[ "$installed" == *" $package=installed "* ]] || missing+=("$package")
  done
  ((${#missing[@]} == 0)) && return

  echo "Installing ${missing[*]}" >&2
  if ((EUID != 0)); then
    command -v sudo >/dev/null || { echo "Please install these packages as root." >&2; return 1; }
    asRoot=(sudo)
  fi
  local apt=("${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive
    apt-get -y -o DPkg::Lock::Timeout=600)
  runQuietly "${apt[@]}" update
  runQuietly "${apt[@]}" install --no-install-recommends "${missing[@]}"
}

# Runs a command and shows what it printed, on stderr, only if it fails.
runQuietly() {
  local output status=0
  output="$("$@" 2>&1)" || status=$?
  ((status == 0)) || printf '%s\n' "$output" >&2
  return "$status"
}
