# An empty Debian root from the mirrors of this machine.

# The sources of this machine's apt that are in use.
apt_sources() { find /etc/apt/sources.list /etc/apt/sources.list.d \( -name '*.list' -o -name '*.sources' \) 2>/dev/null || true; }

# make_debian_root FOLDER OPTIONS...: this machine's release, by mmdebstrap; MORE_SOURCES are mirrors beside the machine's own.
MORE_SOURCES=()
make_debian_root() {
  local folder=$1
  shift
  # shellcheck disable=SC2046
  mmdebstrap --quiet "$@" "$(. /etc/os-release && echo "$VERSION_CODENAME")" "$folder" $(apt_sources) "${MORE_SOURCES[@]}"
}
