# Sourced by the other scripts, not run by itself.

# install_packages PACKAGE...: installs those Debian packages that are missing, without a question.
# Does nothing, and needs neither root nor network, when all of them are there.
install_packages() {
  local package
  local -a missing=()
  for package in "$@"; do
    if [[ $(dpkg-query --show --showformat='${db:Status-Status}' "$package" 2>/dev/null) != installed ]]; then
      missing+=("$package")
    fi
  done
  if ((${#missing[@]} == 0)); then
    return 0
  fi
  if ((EUID != 0)); then
    echo "Missing Debian packages, to be installed as root: ${missing[*]}" >&2
    return 1
  fi
  echo "Installing ${missing[*]}" >&2
  apt-get update -qq >&2 &&
    DEBIAN_FRONTEND=noninteractive apt-get install -y -qq --no-install-recommends "${missing[@]}" >&2
}
