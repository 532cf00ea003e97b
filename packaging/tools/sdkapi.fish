# fish completion of sdkapi: the program itself says what may follow.
complete --command sdkapi --arguments '(env _SDKAPI_COMPLETE=complete_fish _TYPER_COMPLETE_FISH_ACTION=get-args _TYPER_COMPLETE_ARGS=(commandline -cp) sdkapi 2>/dev/null)'
