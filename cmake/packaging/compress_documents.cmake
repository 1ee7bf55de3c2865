# Run by cpack on the tree that it is about to pack: Debian wants manual pages and changelogs compressed.
file(GLOB documents
  "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr/share/man/man*/*"
  "${CPACK_TEMPORARY_INSTALL_DIRECTORY}/*/usr/share/doc/*/changelog")
foreach(document IN LISTS documents)
  execute_process(COMMAND gzip -9n "${document}" COMMAND_ERROR_IS_FATAL ANY)
endforeach()
