# Run by CPack on what a package is made of: Debian's manual pages and changelogs are compressed.
file(GLOB_RECURSE plain
  ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/man*/*.[1-9]
  ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/doc/*/changelog
  ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/doc/*/changelog.Debian)
foreach(file ${plain})
  execute_process(COMMAND gzip -9nf ${file} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
