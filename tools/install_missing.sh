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

  local install=(apt-get -y --no-install-recommends install "${missing[@]}")
  if ((EUID != 0)); then
    # Without a terminal nobody could type a password.
    if ! command -v sudo >/dev/null || ! { [[ -t 0 ]] || sudo -n true 2>/dev/null; }; then
      printf 'Packages are missing. Please run this as root, then try again:\n\n    %s\n\n' \
        "${install[*]}" >&2
      return 1
    fi
    asRoot=(sudo)
  fi
  echo "Installing packages: ${missing[*]}" >&2
  local apt=("${asRoot[@]}" env DEBIAN_FRONTEND=noninteractive
    apt-get -y -o DPkg::Lock::Timeout=600)
  local output
  # Lists that are there already may do where there is no network.
  output="$("${apt[@]}" update 2>&1)" || true
  output+="$("${apt[@]}" install --no-install-recommends "${missing[@]}" 2>&1)" && return
  tellAptFailure "$output" "${install[*]}"
  return 1
}

# Of hundreds of lines the one that counts.
# $1: what apt printed, $2: the command that it should have carried out
tellAptFailure() {
  local reason
  reason="$(grep -m 1 -oE 'Temporary failure resolving .*|Could not connect to [^ ]*' <<<"$1" ||
    grep -m 1 '^E: ' <<<"$1" || tail -n 1 <<<"$1")"
  echo "The packages cannot be installed ($reason). Once they can: $2" >&2
}

# Runs a command and shows what it printed, on stderr, only if it fails.
runQuietly() {
  local output status=0
  output="$("$@" 2>&1)" || status=$?
  ((status == 0)) || printf '%s\n' "$output" >&2
  return "$status"
}
