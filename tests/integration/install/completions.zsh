# completions.zsh FUNCTION WORD...: prints what the completion function in the file FUNCTION offers
# for the last word. The shell's own completion needs its line editor, so the functions below
# replace it and collect the offered words.

# The arguments of compadd: options, then words, or -a and the name of an array.
compadd() {
  local -a given
  local suffix=
  while [[ $1 == -* ]]; do
    case $1 in
      -S) suffix=$2; shift 2 ;;
      -M) caseless='(#i)'; shift 2 ;;
      -a) given=("${(@P)2}"); shift 2 ;;
      *) print -u2 "compadd $1?"; exit 1 ;;
    esac
  done
  given+=("$@")
  offered+=("${(@)^given:#}$suffix")
}
_describe() { offered+=("${(@)${(@P)2}%%:*}") }
_files() { offered+=(FILES) }

function=$1
shift
words=("$@") CURRENT=$# offered=() caseless=
setopt extendedglob
source $function
print -rn -- "${(@j: :)${(@M)offered:#(${~caseless}${(b)words[CURRENT]}*|FILES)}}"
