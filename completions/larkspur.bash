# SPDX-License-Identifier: MIT
# Completion of larkspur(1) for bash.

_larkspur_options() {
  case $1 in
    image) echo "--start --sectors --partition --domain --no-scrape --retry --reverse --max-failures --max-rate --when-silent --other-source --pass-through --timeout --json-progress --test-mode --json --help" ;;
    read) echo "--start --sectors --other-source --pass-through --timeout --output --force --test-mode --help" ;;
    map) echo "--png --svg --mapfile --force --json --help" ;;
    check) echo "--repair --json --help" ;;
    export) echo "--start --sectors --force --hash --help" ;;
    tree) echo "--cache --test-mode --trace --no-notes --backup-gpt --json --help" ;;
    import | info | log | devices | identify) echo "--json --help" ;;
    *) echo "--help --version" ;;
  esac
}

_larkspur() {
  local word=${COMP_WORDS[COMP_CWORD]} before=${COMP_WORDS[COMP_CWORD - 1]}
  local command=${COMP_WORDS[1]} commands="image read info map check export import tree devices identify"
  COMPREPLY=()
  case $before in
    --start | --sectors) return ;;
    --png | --svg | --mapfile | --cache | --test-mode | --output | -o)
      COMPREPLY=($(compgen -f -- "$word"))
      return
      ;;
  esac
  if [[ $word == -* ]]; then
    COMPREPLY=($(compgen -W "$(_larkspur_options "$command")" -- "$word"))
  elif ((COMP_CWORD == 1)); then
    COMPREPLY=($(compgen -W "$commands" -- "$word"))
  else
    COMPREPLY=($(compgen -f -- "$word"))
  fi
}

complete -o filenames -F _larkspur larkspur
