# SPDX-License-Identifier: MIT
# Completion of larkspur(1) for bash. Commands, options and values are those that --help lists.

_larkspur() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  local program=${COMP_WORDS[0]/#\~/$HOME} isJoined= line value
  local -a command=() commands=() options=()
  # "--option=value" comes as three words.
  if [[ $word == = ]]; then
    word= isJoined=1
  elif [[ $before == = ]]; then
    before=${COMP_WORDS[COMP_CWORD - 2]} isJoined=1
  fi
  ((COMP_CWORD > 1)) && command=("${COMP_WORDS[1]}")
  while IFS= read -r line; do
    if [[ $line =~ ^\ \ ([a-z]+)\ \  ]]; then
      commands+=("${BASH_REMATCH[1]}")
    elif [[ $line =~ ^\ \ ((-[a-z]),)?(--[a-z-]+)(\[=([^]]+)\]|\ ([^ ]+))? ]]; then
      options+=("${BASH_REMATCH[3]}")
      [[ $before == "${BASH_REMATCH[2]}" || $before == "${BASH_REMATCH[3]}" ]] || continue
      value=${BASH_REMATCH[6]}
      [[ $isJoined ]] && value+=${BASH_REMATCH[5]}
    fi
  done < <("$program" "${command[@]}" --help 2>/dev/null)
  COMPREPLY=()
  case $value in
    *'|'*) COMPREPLY=($(compgen -W "${value//|/ }" -- "$word")) ;;
    FILE | MAPFILE | CACHE | PATH) ;; # as for arguments: names of files, which readline quotes
    ?*) compopt +o default ;;
    *)
      if [[ $word == -* ]]; then
        COMPREPLY=($(compgen -W "${options[*]}" -- "$word"))
      elif ((COMP_CWORD == 1)) || [[ COMP_CWORD -eq 2 && ${command[0]} == help ]]; then
        COMPREPLY=($(compgen -W "${commands[*]} help" -- "$word"))
      fi
      ;;
  esac
}

complete -o default -F _larkspur larkspur
