# bash completion of sdkapi: the program itself says what may follow.
_sdkapi() {
  mapfile -t COMPREPLY < <(COMP_WORDS="${COMP_WORDS[*]}" COMP_CWORD=$COMP_CWORD _SDKAPI_COMPLETE=complete_bash sdkapi 2>/dev/null)
}
complete -o default -F _sdkapi sdkapi
