# What an installation holds and where: the layout that Debian's games have. Windows gets a zip, see
# scripts/release_windows.
#
#   games/corvantis                    the launcher, which starts the engine in the user's own folder
#   games/corvantis-make-book, -make-tablebase
#   libexec/corvantis/                 the engine itself and its benchmark
#   share/games/corvantis/             book, parameters, sample configuration, tablebases of three men
#   share/games/plugins/xboard/        XBoard's list of engines
#   share/man/man6, share/doc/corvantis
include(GNUInstallDirs)
set(CORVANTIS_GAMES games CACHE STRING "Folder of the programs, below the prefix")
set(programs_folder ${CMAKE_INSTALL_LIBEXECDIR}/corvantis)
set(data_folder ${CMAKE_INSTALL_DATADIR}/games/corvantis)
set(documents_folder ${CMAKE_INSTALL_DATADIR}/doc/corvantis)

file(RELATIVE_PATH PROGRAMS_FROM_BIN /${CORVANTIS_GAMES} /${programs_folder})
file(RELATIVE_PATH DATA_FROM_BIN /${CORVANTIS_GAMES} /${data_folder})
set(VERSION ${PROJECT_VERSION})
configure_file(packaging/corvantis.in ${CMAKE_BINARY_DIR}/packaging/corvantis @ONLY)
install(PROGRAMS ${CMAKE_BINARY_DIR}/packaging/corvantis DESTINATION ${CORVANTIS_GAMES})
install(TARGETS corvantis RUNTIME DESTINATION ${programs_folder})
install(PROGRAMS $<TARGET_FILE:corvantis_bench_signature> DESTINATION ${programs_folder} RENAME corvantis-bench)
install(PROGRAMS $<TARGET_FILE:make_book> DESTINATION ${CORVANTIS_GAMES} RENAME corvantis-make-book)
install(PROGRAMS $<TARGET_FILE:make_tablebase> DESTINATION ${CORVANTIS_GAMES} RENAME corvantis-make-tablebase)

install(FILES packaging/corvantis.eng DESTINATION ${CMAKE_INSTALL_DATADIR}/games/plugins/xboard)
install(FILES doc/man/corvantis.6 doc/man/corvantis-make-book.6 doc/man/corvantis-make-tablebase.6
    DESTINATION ${CMAKE_INSTALL_MANDIR}/man6)
# There the pages lie in one folder: their links are made to lead to where things are then.
file(RELATIVE_PATH sample /${documents_folder} /${data_folder}/Corvantis.ini.sample)
file(GLOB documents CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/README.md ${CMAKE_SOURCE_DIR}/doc/*.md)
foreach(document IN LISTS documents)
    cmake_path(GET document FILENAME name)
    file(READ ${document} text)
    string(REPLACE "](doc/" "](" text "${text}")
    string(REPLACE "](driver/data/Corvantis.ini.sample)" "](${sample})" text "${text}")
    string(REPLACE "](../book/data/SOURCES.md)" "](openings-sources.md)" text "${text}")
    file(CONFIGURE OUTPUT ${CMAKE_BINARY_DIR}/packaging/doc/${name} CONTENT "${text}" @ONLY)
    set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${document})
    install(FILES ${CMAKE_BINARY_DIR}/packaging/doc/${name} DESTINATION ${documents_folder})
endforeach()
install(DIRECTORY doc/images DESTINATION ${documents_folder})
install(FILES doc/openbench.json DESTINATION ${documents_folder})
install(FILES book/data/SOURCES.md DESTINATION ${documents_folder} RENAME openings-sources.md)
# The licence of the book stands there in full, in the form of the rest.
file(READ book/data/CC-BY-SA-3.0.txt CC_BY_SA_3_0)
string(REGEX REPLACE "\n$" "" CC_BY_SA_3_0 "${CC_BY_SA_3_0}")
string(REGEX REPLACE "\n" "\n " CC_BY_SA_3_0 " ${CC_BY_SA_3_0}")
string(REGEX REPLACE "\n \n" "\n .\n" CC_BY_SA_3_0 "${CC_BY_SA_3_0}")
configure_file(packaging/debian/copyright ${CMAKE_BINARY_DIR}/packaging/copyright @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/packaging/copyright DESTINATION ${documents_folder})

if(TARGET values)
    install(FILES ${CMAKE_BINARY_DIR}/values.txt DESTINATION ${data_folder})
endif()
if(TARGET book)
    install(FILES ${CMAKE_BINARY_DIR}/unlearned/Book.cvt DESTINATION ${data_folder})
endif()
# The sample of a configuration file names the folder of the installed tables.
if(TARGET tables)
    get_directory_property(table_files DIRECTORY tools DEFINITION table_files)
    install(FILES ${table_files} DESTINATION ${data_folder}/tablebases)
    install(CODE "
        get_filename_component(data \"${data_folder}\" ABSOLUTE BASE_DIR \"\${CMAKE_INSTALL_PREFIX}\")
        get_filename_component(data \"\${data}\" ABSOLUTE)
        set(SAMPLE \"${CMAKE_SOURCE_DIR}/driver/data/Corvantis.ini.sample\")
        set(FOLDER \"\${data}/tablebases\")
        set(OUTPUT \"\$ENV{DESTDIR}\${data}/Corvantis.ini.sample\")
        include(\"${CMAKE_SOURCE_DIR}/cmake/Configuration.cmake\")")
else()
    install(FILES driver/data/Corvantis.ini.sample DESTINATION ${data_folder})
endif()

include(cmake/Package.cmake)
