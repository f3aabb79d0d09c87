# Bash completion of rectiline: commands, options, and the words that an option takes, all of them as
# the command's own help lists them; else files.
_rectiline() {
  local program=${COMP_WORDS[0]} word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  local command='' words='' i
  for ((i = 1; i < COMP_CWORD; i++)); do
    if [[ ${COMP_WORDS[i]} != -* ]]; then command=${COMP_WORDS[i]}; break; fi
  done
  local help
  help=$("$program" ${command:+"$command"} --help 2>/dev/null)
  if [[ $word == -* ]]; then
    words=$(grep -oE -- '^ +(-[a-z],)?--[a-z-]+' <<<"$help" | grep -oE -- '--[a-z-]+')
  elif [[ -z $command ]]; then
    words=$(sed -n '/^Subcommands:/,/^$/s/^  \([a-z]\+\).*/\1/p' <<<"$help")
  elif [[ $before == --* ]]; then
    words=$(grep -E -- "^ +(-[a-z],)?$before " <<<"$help" | sed -nE 's/.*\{([^}]*)\}.*/\1/p' | tr ',' ' ')
  fi
  mapfile -t COMPREPLY < <(compgen -W "$words" -- "$word")
}
complete -o default -F _rectiline rectiline
