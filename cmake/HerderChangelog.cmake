# Run by CPack after it has installed the packages' files into its staging folder and before it
# packs them: writes each package's changelog anew, signed by the maintainer the packages are
# built with. A maintainer named only at packaging time (cpack -D
# CPACK_DEBIAN_PACKAGE_MAINTAINER="Name <address>") then signs the changelog as well as the
# control file, instead of the one the build was configured with.
set(HERDER_VERSION ${CPACK_PACKAGE_VERSION})
set(HERDER_MAINTAINER ${CPACK_DEBIAN_PACKAGE_MAINTAINER})
set(HERDER_CHANGELOG_DATE ${CPACK_HERDER_CHANGELOG_DATE})
set(text ${CPACK_TOPLEVEL_DIRECTORY}/changelog)
configure_file(${CPACK_HERDER_CHANGELOG_IN} ${text} @ONLY)
# Compressed as Debian ships it (-n: no time stamp inside).
execute_process(COMMAND gzip -9 -n -c ${text} OUTPUT_FILE ${text}.gz COMMAND_ERROR_IS_FATAL ANY)
file(GLOB_RECURSE staged ${CPACK_TEMPORARY_DIRECTORY}/*changelog.gz)
# Each package's documentation folder is the game's, or the game's with a suffix (herder-data).
list(FILTER staged INCLUDE REGEX "${CPACK_HERDER_DOCDIR}[^/]*/changelog[.]gz$")
if(NOT staged)
    message(FATAL_ERROR "no changelog.gz staged under ${CPACK_TEMPORARY_DIRECTORY}")
endif()
foreach(changelog ${staged})
    file(COPY_FILE ${text}.gz ${changelog})
endforeach()
