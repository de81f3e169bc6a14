# Run on the staged files of the package: Debian compresses pages and changelogs.
file(GLOB_RECURSE docs ${CPACK_TEMPORARY_DIRECTORY}/*.1 ${CPACK_TEMPORARY_DIRECTORY}/*.8 ${CPACK_TEMPORARY_DIRECTORY}/changelog)
execute_process(COMMAND gzip -9n ${docs} COMMAND_ERROR_IS_FATAL ANY)
