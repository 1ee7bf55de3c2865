# Builds the library with an external platform, which is a package of its own. SOURCE: the tree;
# WORK: a scratch folder; LIBZU, EXPORT_HEADER: of a built platform.
cmake_minimum_required(VERSION 3.25)

file(REMOVE_RECURSE ${WORK})
file(COPY ${SOURCE}/platform/zu ${SOURCE}/platform/kq DESTINATION ${WORK}/framework/include)
file(COPY ${EXPORT_HEADER} DESTINATION ${WORK}/framework/include/zu)
file(CONFIGURE OUTPUT ${WORK}/framework/zuConfig.cmake @ONLY CONTENT [[
add_library(zu::zu SHARED IMPORTED)
set_target_properties(zu::zu PROPERTIES
  IMPORTED_LOCATION "@LIBZU@"
  INTERFACE_INCLUDE_DIRECTORIES "${CMAKE_CURRENT_LIST_DIR}/include")
]])

function(run)
  execute_process(COMMAND ${ARGV} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

find_program(launcher ccache)
if(NOT launcher)
  set(launcher "")
endif()

# Configures everything, because no part of the tree may need the bundled platform.
run(${CMAKE_COMMAND} -S ${SOURCE} -B ${WORK}/build -G ${GENERATOR}
  -DCMAKE_CXX_COMPILER=${COMPILER} -DCMAKE_CXX_COMPILER_LAUNCHER=${launcher}
  -DKQTTS_PLATFORM=external -Dzu_DIR=${WORK}/framework -DKQTTS_BUILD_TESTS=ON)
run(${CMAKE_COMMAND} --build ${WORK}/build --target kqtts)

if(EXISTS ${WORK}/build/platform)
  message(FATAL_ERROR "The bundled platform was built too")
endif()
file(READ_ELF ${WORK}/build/lib/libkqtts.so RUNPATH runpath)
cmake_path(GET LIBZU PARENT_PATH folder)
if(NOT folder IN_LIST runpath)
  message(FATAL_ERROR "The library is linked with another platform: ${runpath}")
endif()

# The installed CMake package and kqtts.pc name that platform.
file(STRINGS ${WORK}/build/src/kqttsConfig.cmake finds REGEX "^find_dependency\\(zu ")
file(STRINGS ${WORK}/build/src/kqtts.pc requires REGEX "^Requires: zu$")
if(NOT finds OR NOT requires)
  message(FATAL_ERROR "The CMake package or kqtts.pc does not name the platform")
endif()
