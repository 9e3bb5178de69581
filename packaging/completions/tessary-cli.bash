# bash completion for tessary-cli

_tessary_cli_options() {
  local every='--exact --json -h --help'
  case $1 in
    ls) echo "-R --recursive --csv $every" ;;
    cat) echo '--exact -h --help' ;;
    export) echo "-d --directory -o --output -R --recursive $every" ;;
    wav) echo "-d --directory -o --output $every" ;;
    import) echo "-t --to $every" ;;
    rmdir) echo "-R --recursive $every" ;;
    recover) echo "--block --to --name --dry-run $every" ;;
    batch) echo "--stop $every" ;;
    *) echo "$every" ;;
  esac
}

# Folders and the files whose names match the pattern, one a line; names with spaces stay whole.
_tessary_cli_files() {
  local IFS=$'\n'
  compopt -o filenames 2>/dev/null
  if [ -n "$2" ]; then
    mapfile -t COMPREPLY < <(compgen -f -X "!$2" -- "$1"; compgen -d -- "$1")
  else
    mapfile -t COMPREPLY < <(compgen -f -- "$1")
  fi
}

_tessary_cli() {
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local commands='info ls stat cat export contents samples wav import cp mv rm rename mkdir rmdir backup check recover batch'
  COMPREPLY=()

  if [ "$COMP_CWORD" -eq 1 ]; then
    mapfile -t COMPREPLY < <(compgen -W "$commands --help --version" -- "$current")
    return
  fi

  local command=${COMP_WORDS[1]}
  case $previous in
    -d | --directory)
      compopt -o filenames 2>/dev/null
      mapfile -t COMPREPLY < <(compgen -d -- "$current")
      return
      ;;
    -o | --output)
      _tessary_cli_files "$current" ''
      return
      ;;
    -t | --to | --block | --name) return ;;
  esac
  if [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_tessary_cli_options "$command")" -- "$current")
    return
  fi

  local word image=
  for word in "${COMP_WORDS[@]:2:COMP_CWORD-2}"; do
    [[ $word == -* ]] || image=$word
  done
  if [ -z "$image" ]; then
    _tessary_cli_files "$current" '*.[hH][dD][aA]'
  elif [ "$command" = import ]; then
    _tessary_cli_files "$current" ''
  fi
}

complete -F _tessary_cli tessary-cli
