# Run by cpack on what it has installed: what Debian's packages want beyond "cmake --install". Programs
# without symbols, a changelog, and it and the manual pages compressed, without names and times, so that
# the same source gives the same files.
find_program(dependencies dpkg-shlibdeps)
if(NOT dependencies)
    message(FATAL_ERROR "dpkg-shlibdeps is missing (package dpkg-dev): the package would name no libraries")
endif()
set(root ${CPACK_TEMPORARY_INSTALL_DIRECTORY}/usr)
file(COPY ${CPACK_CORVANTIS_CHANGELOG} DESTINATION ${root}/share/doc/corvantis)
file(GLOB compressed ${root}/share/man/man6/*.6 ${root}/share/doc/corvantis/changelog)
file(GLOB programs ${root}/games/corvantis-* ${root}/libexec/corvantis/*)
execute_process(COMMAND gzip -9n ${compressed} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND ${CPACK_CORVANTIS_STRIP} --remove-section=.comment --remove-section=.note ${programs}
    COMMAND_ERROR_IS_FATAL ANY)
