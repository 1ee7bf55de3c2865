# The data packages. They are in the same places of the build tree and of the installed tree, so
# that programs find them in both. Each is installed with the plug-in that serves it, so this
# comes after all calls of kqtts_engine().

# add_packages(<source folder> <folder>): installs the packages of a folder in share/kqtts/<folder>.
# Adds "language=plug-in" of each to the global property KQTTS_LANGUAGES_OF_<folder>.
function(add_packages source folder)
  file(GLOB manifests CONFIGURE_DEPENDS RELATIVE ${source} ${source}/*/manifest.xml)
  file(GLOB_RECURSE files CONFIGURE_DEPENDS ${source}/*.xml)
  set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${files})
  set(build_folder ${PROJECT_BINARY_DIR}/${CMAKE_INSTALL_DATADIR}/kqtts/${folder})
  file(REMOVE_RECURSE ${build_folder})
  foreach(manifest IN LISTS manifests)
    get_filename_component(package ${manifest} DIRECTORY)
    file(COPY ${source}/${package} DESTINATION ${build_folder})
    file(STRINGS ${source}/${manifest} engine REGEX "name=\"engine\"")
    string(REGEX REPLACE ".* value=\"([^\"]*)\".*" "\\1" engine "${engine}")
    get_property(plug_in GLOBAL PROPERTY KQTTS_PLUG_IN_OF_${engine})
    if(NOT plug_in)
      message(FATAL_ERROR
        "${source}/${manifest}: no kqtts_engine() says MANIFEST_ENGINE \"${engine}\"")
    endif()
    file(STRINGS ${source}/${manifest} language REGEX "name=\"language\"")
    string(REGEX REPLACE ".* value=\"([^\"]*)\".*" "\\1" language "${language}")
    set_property(GLOBAL APPEND PROPERTY KQTTS_LANGUAGES_OF_${folder} "${language}=${plug_in}")
    install(DIRECTORY ${source}/${package} DESTINATION ${CMAKE_INSTALL_DATADIR}/kqtts/${folder}
            COMPONENT engine-${plug_in})
  endforeach()
endfunction()

add_packages(${CMAKE_CURRENT_LIST_DIR} packages)
# Packages that would take a language from the engine that speaks it. A host or user must name their
# folder.
add_packages(${CMAKE_CURRENT_LIST_DIR}/../optional-packages optional-packages)
