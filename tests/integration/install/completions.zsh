# completions.zsh FUNCTION WORD...: what the completion function in this file offers for the last word. The
# shell's own completion runs in its line editor alone, so that what the function hands to it is taken down.

# The arguments of compadd: options, then words or, behind -a, the name of an array.
compadd() {
  local -a given
  local suffix=
  while [[ $1 == -* ]]; do
    case $1 in
      -S) suffix=$2; shift 2 ;;
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
words=("$@") CURRENT=$# offered=()
source $function
print -rn -- "${(@j: :)${(@M)offered:#(${(b)words[CURRENT]}*|FILES)}}"
