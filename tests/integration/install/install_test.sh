#!/usr/bin/env bash
# install_test.sh CASE SOURCE BUILD WORK: runs one test of the tree that `cmake --install` makes.
# WORK is a scratch folder; the first case installs the tree there, and the others use it.
set -euo pipefail

case_name=$1 source=$2 build=$3 work=$4
prefix=$work/moved
export ZU_LOG_LEVEL=error
export CMAKE_PREFIX_PATH=$prefix
unset ZU_LIBRARY_PATH LD_LIBRARY_PATH DESTDIR

fail() {
  echo "$*" >&2
  exit 1
}

# speaks COMMAND...: runs the example host with the example engine, which speaks each of the 8
# characters as 80 ms of audio at 16 kHz.
speaks() {
  local bytes
  bytes=$("$@" English 'do re mi' | wc -c)
  [ "$bytes" -eq $((8 * 1280 * 2)) ] || fail "$* wrote $bytes bytes of audio"
}

# build_project FOLDER BUILD [CMAKE OPTION...]
build_project() {
  local from=$1 into=$2
  shift 2
  rm -rf "$into"
  "$CMAKE" -S "$from" -B "$into" -G Ninja -DCMAKE_CXX_FLAGS='-Wall -Wextra -Werror' "$@"
  "$CMAKE" --build "$into"
}

into_moved_prefix() {
  rm -rf "$work"
  "$CMAKE" --install "$build" --prefix "$work/first"
  mv "$work/first" "$prefix"
}

names_no_folder_of_the_build() {
  local file run_path
  ! grep -rlF -e "$source" -e "$build" -e "$work" "$prefix" ||
    fail 'These name a folder of the build'
  while read -r file; do
    run_path=$(readelf -d "$file" 2>/dev/null | sed -n 's/.*R\(UN\)\?PATH.*\[\(.*\)\]/\2/p')
    [[ -z $run_path || $run_path =~ ^\$ORIGIN[./a-z0-9_-]*$ ]] || fail "$file: run path $run_path"
    if ldd "$file" 2>/dev/null | grep 'not found'; then fail "$file: libraries are missing"; fi
  done < <(find "$prefix" -type f \( -perm -u+x -o -name '*.so*' \))
}

examples_with() {
  local into=$work/examples-$1
  build_project "$source/examples/host" "$into/host" -DCMAKE_CXX_COMPILER="$1"
  build_project "$source/examples/engine" "$into/engine" -DCMAKE_CXX_COMPILER="$1"
  ZU_LIBRARY_PATH=$into/engine speaks "$into/host/host"
  if [ -x "$prefix/bin/kqtts" ]; then
    "$prefix/bin/kqtts" check-engine "$into/engine/kqtts/libkqtts-aitalk.so"
  fi
}

examples_with_gcc() { examples_with g++; }
examples_with_clang() { examples_with clang++-14; }

# Installs the engine beside the others, and moves the tree once more.
examples_with_pkg_config() {
  local again=$work/moved-again
  rm -rf "$again"
  cp -a "$prefix" "$again"
  export PKG_CONFIG_PATH=$again/$LIBDIR/pkgconfig
  local flags plugins
  eval "flags=($(pkg-config --cflags --libs kqtts))" # pkg-config quotes blanks for a shell
  eval "plugins=$(pkg-config --variable=plugindir kqtts)"
  mkdir -p "$plugins" "$again/bin"
  g++ -std=c++17 "$source/examples/host/host.cpp" "${flags[@]}" -o "$again/bin/host"
  g++ -std=c++17 -shared -fPIC -fno-gnu-unique "$source/examples/engine/tone_engine.cpp" \
    "${flags[@]}" -o "$plugins/libkqtts-aitalk.so"
  LD_LIBRARY_PATH=$again/$LIBDIR speaks "$again/bin/host"
}

pkg_config_names_what_a_host_needs() {
  PKG_CONFIG_PATH=$prefix/$LIBDIR/pkgconfig
  export PKG_CONFIG_PATH
  local named
  named=$(pkg-config --libs-only-l kqtts)
  [ "${named% }" = '-lkqtts -lzu' ] || fail "A host is linked with $named"
}

# Everything that is installed has the compiler's and the linker's protections.
is_hardened() {
  local file facts functions fortified=0
  while read -r file; do
    facts=$(readelf --file-header --program-headers --dynamic --wide "$file")
    grep -q 'Type: *DYN' <<<"$facts" || fail "$file has a fixed place in memory"
    grep -q GNU_RELRO <<<"$facts" || fail "$file: its tables stay writable (relro)"
    grep -q 'FLAGS.*NOW' <<<"$facts" || fail "$file: its functions are looked up late (bind now)"
    grep -q 'GNU_STACK.* RW ' <<<"$facts" || fail "$file: its stack can be executed"
    functions=$(readelf --dyn-syms --wide "$file")
    grep -q ' __stack_chk_fail@' <<<"$functions" || fail "$file has no stack protector"
    if grep -q '_chk@' <<<"$functions"; then fortified=$((fortified + 1)); fi
    # The targets of jumps are marked: x86 (endbr64), ARM (paciasp).
    objdump --disassemble "$file" >"$work/code"
    grep -qE '\s(endbr64|paciasp)\s*$' "$work/code" || fail "$file does not mark targets of jumps"
  done < <(find "$prefix" -type f \( -perm -u+x -o -name '*.so*' \) -exec sh -c \
    'for file; do head -c 4 "$file" | grep -q ELF && echo "$file"; done' sh {} +)
  [ "$fortified" -gt 0 ] || fail 'No call of the C library is checked (_FORTIFY_SOURCE)'
}

carries_the_notices() {
  local documents=$prefix/share/doc/kqtts
  grep -q 'Redistribution and use' "$documents/LICENSE"
  grep -q 'University of Cincinnati' "$documents/NOTICES.md"
  grep -q 'Niels Lohmann' "$documents/NOTICES.md"
  grep -q 'Unicode, Inc.' "$documents/NOTICES.md"
  grep -q 'GNU GENERAL PUBLIC LICENSE' "$documents/GPL-3.txt"
}

# A host and its plug-ins share the library.
refuses_to_be_static() {
  ! "$CMAKE" -S "$source" -B "$work/static" -G Ninja -DBUILD_SHARED_LIBS=OFF \
    >"$work/static.log" 2>&1 || fail 'BUILD_SHARED_LIBS=OFF is not refused'
  grep -q 'shared library' "$work/static.log"
}

# The library's own settings must not reach the tree that it is a part of.
as_sub_project() {
  local project=$work/sub-project
  mkdir -p "$project"
  cat >"$project/CMakeLists.txt" <<END
cmake_minimum_required(VERSION 3.25)
project(outer LANGUAGES CXX)
include(FetchContent)
FetchContent_Declare(kqtts SOURCE_DIR "$source" OVERRIDE_FIND_PACKAGE)
FetchContent_MakeAvailable(kqtts)
foreach(name CMAKE_CXX_STANDARD CMAKE_CXX_VISIBILITY_PRESET CMAKE_RUNTIME_OUTPUT_DIRECTORY)
  if(DEFINED \${name})
    message(FATAL_ERROR "\${name} is set to \${\${name}}")
  endif()
endforeach()
foreach(unwanted kqtts_program kqtts-nuance)
  if(TARGET \${unwanted})
    message(FATAL_ERROR "\${unwanted} is built")
  endif()
endforeach()
get_directory_property(options COMPILE_OPTIONS)
if(options)
  message(FATAL_ERROR "Compiled with \${options}")
endif()
add_subdirectory("$source/examples/host" host)
END
  build_project "$project" "$project/build" -DCMAKE_CXX_FLAGS=-O0
  [ -x "$project/build/host/host" ] || fail 'The host was not built'
}

speaks_with_its_own_plug_ins() {
  local speech=$work/hello.wav
  env -i HOME="$work" XDG_DATA_DIRS="$work" "$prefix/bin/kqtts" \
    say -l English -o "$speech" 'Hello, I am a robot'
  [ "$(stat -c %s "$speech")" -gt 20000 ] || fail 'There is hardly any audio'
}

# Prints the sub-commands and all their options, from the program's --help.
usage_words() {
  local program=$prefix/bin/kqtts command
  for command in '' $("$program" --help |
    sed -n '/^Subcommands:/,$ s/^  \([a-z][a-z-]*\) .*/\1/p'); do
    echo "$command"
    # shellcheck disable=SC2086 # an empty sub-command must not become an argument
    "$program" $command --help | grep -oE -- '--[a-z][a-z-]*'
  done | sort -u
}

manual_page_names_all() {
  local page word
  page=$(sed 's/\\-/-/g' "$prefix/share/man/man1/kqtts.1")
  while read -r word; do
    grep -qF -- "$word" <<<"$page" || fail "The manual page does not name $word"
  done < <(usage_words)
  while read -r word; do
    usage_words | grep -qxF -- "$word" ||
      fail "The manual page names $word, which the program does not know"
  done < <(grep -oE -- '--[a-z][a-z-]*' <<<"$page" | sort -u)
}

# in_bash WORD...: prints what bash offers for the last word.
in_bash() {
  COMP_WORDS=("$prefix/bin/kqtts" "$@") COMP_CWORD=$# COMPREPLY=()
  # shellcheck disable=SC2317 # called by the completion
  compopt() { :; }
  _kqtts
  printf '%s ' "${COMPREPLY[@]}"
}

# in_zsh WORD...: prints what zsh offers for the last word.
in_zsh() {
  zsh -f "$source/tests/integration/install/completions.zsh" \
    "$prefix/share/zsh/site-functions/_kqtts" "$prefix/bin/kqtts" "$@"
}

# offers EXPECTED WORD...: fails unless $shell offers EXPECTED for the last word.
offers() {
  local expected=$1 offered
  shift
  offered=$("in_$shell" "$@")
  [ "${offered% }" = "$expected" ] || fail "kqtts $* is completed by: $offered, not: $expected"
}

completes() {
  offers 'say' sa
  offers '--log-level' --log
  offers '--voice' say --voi
  offers 'engines' list e
  offers 'warning' --log-level w
  offers 'silent fatal error warning info verbose debug' --log-level ''
  offers 'EnglishGB' say -l EnglishG
  offers 'english-gb-male' --log-level error say --voice english-gb-mal
  offers 'speed=' say -p sp
  offers 'EnglishGB' explain EnglishG
  offers 'english-gb-male' explain english-gb-mal
  offers 'EnglishGB' say -l englishg
  offers 'french-female' say -l French -v french-f
  offers 'flac' say --format fl
  offers 'entry-points' check-engine --check entry
}

completion_in_zsh() {
  if ! command -v zsh >/dev/null; then
    echo 'zsh is not installed'
    exit 77 # skipped
  fi
  shell=zsh
  completes
}

completion_in_bash() {
  shell=bash
  # shellcheck source=/dev/null
  source "$prefix/share/bash-completion/completions/kqtts"
  completes
  offers 'EnglishGB' say --language = EnglishG
}

"$case_name"
