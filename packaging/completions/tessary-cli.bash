# bash completion for tessary-cli

_tessary_cli_options() {
  local every='--exact --json -q --quiet -h --help' trial='-n --dry-run'
  case $1 in
    ls) echo "-R --recursive -l --long --sort --reverse --csv $every" ;;
    cat) echo '--exact -q --quiet -h --help' ;;
    export) echo "-d --directory -o --output -R --recursive --no-clobber $trial $every" ;;
    wav) echo "-d --directory -o --output -R --recursive --rate --no-clobber $trial $every" ;;
    import) echo "-t --to -R --recursive --name --replace --skip-existing $trial $every" ;;
    cp | mv) echo "-R --recursive --into --replace --skip-existing $trial $every" ;;
    rm | rename | backup) echo "$trial $every" ;;
    mkdir) echo "-p --parents $trial $every" ;;
    rmdir) echo "-R --recursive $trial $every" ;;
    find) echo "--files --folders --presets --samples $every" ;;
    new) echo "--size --like $trial $every" ;;
    recover) echo "--block --to --name $trial $every" ;;
    batch) echo "--stop $trial $every" ;;
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

# Names inside the image, as they are written in the shell. Behind a folder's "/" more can be typed. The program
# reads the words as they were typed: nothing in them is run here. What bash leaves alone of the word, up to a ":",
# say, is no part of the replies.
_tessary_cli_names() {
  local image=$1 home
  printf -v home %q "$HOME"
  [[ $image != \~/* ]] || image=$home${image:1}
  compopt -o nospace 2>/dev/null
  mapfile -t COMPREPLY < <(tessary-cli --complete-bash "$image" "$2" "$kept" 2>/dev/null)
  [ ${#COMPREPLY[@]} -ne 1 ] || [[ ${COMPREPLY[0]} == */ ]] || compopt +o nospace 2>/dev/null
}

# Into `typed`: the words up to the cursor, as they were typed. Bash takes them apart at ":", "@" and "=" too.
_tessary_cli_typed() {
  local rest=${COMP_LINE:0:COMP_POINT} piece
  typed=()
  for piece in "${COMP_WORDS[@]:0:COMP_CWORD+1}"; do
    if [[ ${#typed[@]} -eq 0 || $rest == [[:space:]]* ]]; then
      rest=${rest#"${rest%%[![:space:]]*}"}
      typed+=('')
    fi
    [[ $rest == "$piece"* ]] || piece=$rest # the cursor is in it
    typed[${#typed[@]} - 1]+=$piece
    rest=${rest#"$piece"}
  done
}

# The words behind the command that are no options and no values of options.
_tessary_cli_words() {
  local word previous=
  words=()
  for word in "${typed[@]:2:${#typed[@]}-3}"; do
    case $previous in
      -d | --directory | -o | --output | -t | --to | --block | --name | --sort | --rate | --size | --like | --into) ;;
      *) [[ $word == -?* ]] || words+=("$word") ;;
    esac
    previous=$word
  done
}

_tessary_cli() {
  local -a typed
  _tessary_cli_typed
  local current=${typed[${#typed[@]} - 1]} previous=${typed[${#typed[@]} - 2]}
  local kept=${current%"$2"}
  local commands='info ls stat cat export contents samples wav import cp mv rm rename mkdir rmdir find new backup check recover batch'
  local image='*.[hH][dD][aA]'
  local -a words
  COMPREPLY=()

  if [ ${#typed[@]} -eq 2 ]; then
    mapfile -t COMPREPLY < <(compgen -W "$commands --help --version" -- "$current")
    return
  fi

  local command=${typed[1]}
  _tessary_cli_words
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
    --into | --like)
      _tessary_cli_files "$current" "$image"
      return
      ;;
    --sort)
      mapfile -t COMPREPLY < <(compgen -W 'none name type format size' -- "$current")
      return
      ;;
    -t | --to)
      [ ${#words[@]} -eq 0 ] || _tessary_cli_names "${words[0]}" "$current"
      return
      ;;
    --block | --name | --rate | --size) return ;;
  esac
  if [[ $current == -* ]]; then
    mapfile -t COMPREPLY < <(compgen -W "$(_tessary_cli_options "$command")" -- "$current")
    return
  fi

  if [ "$command" = find ]; then
    [ ${#words[@]} -eq 0 ] || _tessary_cli_files "$current" "$image"
  elif [ ${#words[@]} -eq 0 ]; then
    _tessary_cli_files "$current" "$image"
  else
    case $command in
      import | backup) _tessary_cli_files "$current" '' ;;
      ls | stat | cat | export | contents | samples | wav | cp | mv | rm | rename | mkdir | rmdir)
        _tessary_cli_names "${words[0]}" "$current"
        ;;
    esac
  fi
}

complete -F _tessary_cli tessary-cli
