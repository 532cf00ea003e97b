# What the commands share: how they speak, fail and stop. `program` is the name that they speak under.
say() { printf '== %s\n' "$*"; }
fail() { printf '%s: %s\n' "$program" "$*" >&2; exit 1; }

# Fails with the folder whose disk is full; other complaints of that moment are its consequences.
fail_when_full() {
  local folder
  for folder in "$@" "${TMPDIR:-/tmp}"; do
    [ "$(df --output=avail -B1M "$folder" | tail -n 1)" -gt 1 ] || fail "no disk space left in $folder"
  done
}

check_preset() {
  local known
  known=$(sed -n 's/^ *"configurePreset": "\(.*\)".*/\1/p' CMakePresets.json)
  grep -qxF -- "$1" <<<"$known" || fail "unknown preset '$1'; there are: ${known//$'\n'/ }"
}

# Of commands that call each other, the first one speaks at an interrupt.
first=${SDKAPI_FIRST_COMMAND:-$$}
export SDKAPI_FIRST_COMMAND=$first
interrupted() {
  [ "$first" != $$ ] || printf '\n%s: interrupted; the next run goes on from here\n' "$program" >&2
  exit 130
}
trap interrupted INT
trap 'exit 143' TERM
