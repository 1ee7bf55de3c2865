# Bash completion for kqtts. Sub-commands, options and values are asked from the program itself, so
# that they are always those of the one that is installed.

_kqtts_subcommands() {
  "$1" --help 2>/dev/null | sed -n '/^Subcommands:/,$ s/^  \([a-z][a-z-]*\) .*/\1/p'
}

# The options of a usage text, and the words that its arguments may be.
_kqtts_words() {
  "$@" --help 2>/dev/null | sed -n 's/^  \(-[a-z], *\)\?\(--[a-z-]*\).*/\2/p
    s/^  [A-Z].*{\([^}]*\)}.*/\1/p' | tr ',' '\n'
}

# The first column, as a name may hold single blanks.
_kqtts_listed() {
  "$1" list "${@:2}" 2>/dev/null | sed 's/  .*//'
}

# Those lines that begin with a word, in any case: users write "-l fr" for "French".
_kqtts_beginning() {
  awk -v word="$1" 'tolower(substr($0, 1, length(word))) == tolower(word)'
}

# The words in braces behind an option in a usage text.
_kqtts_choices() {
  "${@:2}" --help 2>/dev/null | sed -n "s/^  $1 {\([^}]*\)}.*/\1/p" | tr ',' '\n'
}

_kqtts_arguments() {
  _kqtts_words "$@"
  case ${2:-} in
    explain)
      _kqtts_listed "$1" languages
      _kqtts_listed "$1" voices
      ;;
    check-engine) compgen -f -- "${COMP_WORDS[COMP_CWORD]}" ;;
  esac
}

_kqtts() {
  local program=${COMP_WORDS[0]}
  local current=${COMP_WORDS[COMP_CWORD]} previous=${COMP_WORDS[COMP_CWORD - 1]}
  local subcommands subcommand='' language='' before='' word candidates
  subcommands=$(_kqtts_subcommands "$program")
  for word in "${COMP_WORDS[@]:1:COMP_CWORD - 1}"; do
    if [[ -z $subcommand && $'\n'$subcommands$'\n' == *$'\n'$word$'\n'* ]]; then
      subcommand=$word
    fi
    # "--language=fr" is three words.
    case $before in -l|--language) language=$word ;; esac
    [[ $word == = ]] || before=$word
  done
  if [[ $current == = ]]; then
    current=''
  elif [[ $previous == = ]]; then
    previous=${COMP_WORDS[COMP_CWORD - 2]}
  fi
  case $previous in
    -l|--language)
      candidates=$(_kqtts_listed "$program" languages | _kqtts_beginning "$current")
      current=''
      ;;
    -v|--voice)
      candidates=$(_kqtts_listed "$program" voices ${language:+-l "$language"} |
        _kqtts_beginning "$current")
      current=''
      ;;
    -p|--parameter)
      compopt -o nospace
      candidates=$(_kqtts_listed "$program" parameters | sed 's/$/=/')
      ;;
    --check) candidates=$("$program" check-engine --list 2>/dev/null | sed 's/:.*//') ;;
    --log-level) candidates=$(_kqtts_choices "$previous" "$program") ;;
    --format) candidates=$(_kqtts_choices "$previous" "$program" say) ;;
    --packages|--engines) mapfile -t COMPREPLY < <(compgen -d -- "$current"); return ;;
    -f|--file|-o|--output|--events|--junit)
      mapfile -t COMPREPLY < <(compgen -f -- "$current")
      return
      ;;
    *)
      if [[ -n $subcommand ]]; then
        candidates=$(_kqtts_arguments "$program" "$subcommand")
      else
        candidates=$subcommands$'\n'$(_kqtts_words "$program")
      fi
      ;;
  esac
  local IFS=$'\n'
  mapfile -t COMPREPLY < <(compgen -W "$candidates" -- "$current")
  if [[ ${#COMPREPLY[@]} -gt 0 ]]; then
    mapfile -t COMPREPLY < <(printf '%q\n' "${COMPREPLY[@]}")
  fi
}

complete -F _kqtts kqtts
