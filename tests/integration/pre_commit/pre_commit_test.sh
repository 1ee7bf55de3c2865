#!/usr/bin/env bash
# pre_commit_test.sh CASE SOURCE WORK: runs one test of scripts/pre-commit, as the hook of a small
# repository in WORK.
set -euo pipefail

case_name=$1 source=$2 work=$3
export HOME=$work GIT_CONFIG_NOSYSTEM=1
unset GIT_DIR GIT_INDEX_FILE

fail() {
  echo "$*" >&2
  cat "$work/output" >&2
  exit 1
}

make_repository() {
  rm -rf "$work"
  mkdir -p "$work/tree/scripts" "$work/tree/docs" "$work/tree/tools"
  cd "$work/tree"
  cp "$source"/scripts/{check-columns,layers,pre-commit} scripts
  cp "$source/.clang-format" .
  # shellcheck disable=SC2016 # the backquotes are Markdown
  printf '<!-- scripts/layers -->\n```mermaid\n```\n' >docs/architecture.md
  git init -q
  git config user.name somebody
  git config user.email somebody@example.com
  git add -A
  scripts/layers --update
  git commit -qam 'A beginning'
  ln -s ../../scripts/pre-commit .git/hooks/pre-commit
}

commits() { git commit -qm 'A change' >"$work/output" 2>&1 || fail 'It was not committed'; }

# is_refused TEXT: the commit fails, and the hook prints the text.
is_refused() {
  if git commit -qm 'A change' >"$work/output" 2>&1; then fail 'It was committed'; fi
  grep -qF -- "$1" "$work/output" || fail "The hook did not print: $1"
}

takes_what_is_clean() {
  echo 'int number();' >tools/number.hpp
  printf '#!/bin/sh\necho ready\n' >scripts/ready
  git add -A
  commits
}

refuses_another_layout() {
  echo 'int   number( );' >tools/number.hpp
  git add -A
  is_refused 'clang-format-14 -i tools/number.hpp'
}

looks_at_what_is_staged() {
  echo 'int number();' >tools/number.hpp
  git add -A
  echo 'int   number( );' >tools/number.hpp
  commits
  git add -A
  echo 'int number();' >tools/number.hpp
  is_refused 'clang-format-14 -i'
}

refuses_what_shellcheck_does() {
  # shellcheck disable=SC2016 # $1 belongs to the script that is written
  printf '#!/bin/sh\nrm $1\n' >scripts/remove
  git add -A
  is_refused SC2086
}

refuses_white_space_at_the_end() {
  printf 'A line \n' >docs/page.md
  git add -A
  is_refused 'trailing whitespace'
}

takes_comments_of_100_columns() {
  printf 'namespace x {\n// %097d\nint number();\n}  // namespace x\n' 7 >tools/number.hpp
  git add -A
  commits
}

refuses_long_comments() {
  printf '// %098d\nint number();\n' 7 >tools/number.hpp
  git add -A
  is_refused 'tools/number.hpp:1: more than 100 columns'
}

refuses_long_lines_of_scripts() {
  printf '#!/bin/sh\necho %096d\n' 7 >scripts/ready
  git add -A
  is_refused 'scripts/ready:2: more than 100 columns'
}

takes_wide_tables_and_pages() {
  printf '// clang-format off\nint row%0100d;\n// clang-format on\n' 7 >tools/number.hpp
  printf '%0101d\n' 7 >docs/page.md
  git add -A
  commits
}

refuses_an_arrow_that_runs_the_wrong_way() {
  mkdir platform
  printf '#include <kqtts/tts_preference.hpp>\n' >platform/upward.cpp
  git add -A
  is_refused 'platform may not include kqtts'
}

refuses_a_picture_that_is_out_of_date() {
  mkdir tools/app
  printf '#include <zu/log.hpp>\n' >tools/app/logged.cpp
  git add -A
  is_refused 'scripts/layers --update'
}

takes_the_removal_of_a_file() {
  echo 'int number();' >tools/number.hpp
  git add -A
  commits
  git rm -q tools/number.hpp
  commits
}

make_repository
"$case_name"
