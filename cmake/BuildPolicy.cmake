# Compiler settings and output folders for everything in this tree. Nothing here reaches a consumer,
# nor a tree that this one is a part of.

# Language and visibility
set(CMAKE_CXX_STANDARD 17)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_POSITION_INDEPENDENT_CODE ON)
set(CMAKE_CXX_VISIBILITY_PRESET hidden)
set(CMAKE_VISIBILITY_INLINES_HIDDEN ON)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# Folders of the build
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/bin)
set(CMAKE_LIBRARY_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib)
set(KQTTS_PLUGIN_OUTPUT_DIRECTORY ${PROJECT_BINARY_DIR}/lib/kqtts)

# Folders of the installed tree, besides those of GNUInstallDirs
include(GNUInstallDirs)
set(KQTTS_INSTALL_PLUGINDIR ${CMAKE_INSTALL_LIBDIR}/kqtts)
set(KQTTS_INSTALL_PKGCONFIGDIR ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
# The path from a .pc file to the prefix. It is relative, so that the tree can be moved.
file(RELATIVE_PATH KQTTS_PREFIX_FROM_PKGCONFIG
  ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
string(REGEX REPLACE "/$" "" KQTTS_PREFIX_FROM_PKGCONFIG ${KQTTS_PREFIX_FROM_PKGCONFIG})

set(KQTTS_SANITIZE "" CACHE STRING "Sanitizers for -fsanitize=, for example address,undefined")

# For tests and tools: checks of each pointer make their templates slow to compile. The library, the
# platform and the engines keep these checks.
set(KQTTS_WITHOUT_POINTER_CHECKS "")
if(KQTTS_SANITIZE MATCHES "undefined")
  set(KQTTS_WITHOUT_POINTER_CHECKS -fno-sanitize=null,vptr,alignment,object-size)
endif()

# With these, a fault is harder to use for an attack. The sanitizers' builds do without them.
option(KQTTS_HARDENING "Build with the compiler's and linker's protections" ON)
set(KQTTS_HARDENING_OPTIONS "")
if(KQTTS_HARDENING AND NOT KQTTS_SANITIZE)
  include(CheckPIESupported)
  include(CheckCXXCompilerFlag)
  check_pie_supported()
  foreach(flag IN ITEMS -fstack-protector-strong -fstack-clash-protection
          -fcf-protection=full -mbranch-protection=standard)  # the last two: x86 and ARM
    string(MAKE_C_IDENTIFIER "KQTTS_HAS${flag}" has_flag)
    check_cxx_compiler_flag(${flag} ${has_flag})
    if(${has_flag})
      list(APPEND KQTTS_HARDENING_OPTIONS ${flag})
    endif()
  endforeach()
  # Without optimisation, the C library refuses its checks of buffers.
  list(APPEND KQTTS_HARDENING_OPTIONS
    "$<$<CONFIG:Release,RelWithDebInfo,MinSizeRel>:-U_FORTIFY_SOURCE;-D_FORTIFY_SOURCE=3>")
endif()

# kqtts_target(<target>): makes warnings errors, sets the protections and the sanitizers, and keeps
# paths of this machine out of the result. The preset or the build type sets the optimisation, never
# a target.
function(kqtts_target target)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wconversion -Wnon-virtual-dtor -Woverloaded-virtual
    $<$<CXX_COMPILER_ID:GNU>:-Wshadow=local> $<$<CXX_COMPILER_ID:Clang>:-Wshadow>
    -ffile-prefix-map=${PROJECT_SOURCE_DIR}/= ${KQTTS_HARDENING_OPTIONS})
  if(KQTTS_HARDENING)
    target_link_options(${target} PRIVATE LINKER:-z,relro LINKER:-z,now LINKER:-z,noexecstack)
  endif()
  set_target_properties(${target} PROPERTIES COMPILE_WARNING_AS_ERROR ${PROJECT_IS_TOP_LEVEL})
  if(KQTTS_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=${KQTTS_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${KQTTS_SANITIZE})
  endif()
endfunction()
