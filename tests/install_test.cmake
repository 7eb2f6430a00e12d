# install_test.cmake - what an installation holds, and what make_tablebase says to its users.
#
#   cmake -DBUILD=<folder> -DWORK=<folder> -P install_test.cmake
include("${CMAKE_CURRENT_LIST_DIR}/links.cmake")
file(REMOVE_RECURSE "${WORK}")
file(MAKE_DIRECTORY "${WORK}")

# expect(CODE PATTERN COMMAND...): the command ends with the code and its output matches.
function(expect code pattern)
    execute_process(COMMAND ${ARGN} RESULT_VARIABLE result OUTPUT_VARIABLE output ERROR_VARIABLE errors
        WORKING_DIRECTORY "${WORK}")
    if(NOT result STREQUAL "${code}" OR NOT "${output}${errors}" MATCHES "${pattern}")
        message(SEND_ERROR "${ARGN}: ${result}, not ${code}, or not \"${pattern}\" in:\n${output}${errors}")
    endif()
endfunction()

# The sample names the folder of the installed tables, wherever that is.
expect(0 "" ${CMAKE_COMMAND} --install "${BUILD}" --prefix relative)
expect(0 "" ${CMAKE_COMMAND} -E env DESTDIR=${WORK}/staged ${CMAKE_COMMAND} --install "${BUILD}" --prefix /somewhere)
set(named_folders "${WORK}/relative" /somewhere)
set(places "${WORK}/relative" "${WORK}/staged/somewhere")
foreach(named place IN ZIP_LISTS named_folders places)
    file(STRINGS "${place}/share/games/corvantis/Corvantis.ini.sample" lines REGEX "^[^;]")
    if(NOT lines STREQUAL "EGTBPath = ${named}/share/games/corvantis/tablebases")
        message(SEND_ERROR "the sample in ${place} says: ${lines}")
    endif()
    foreach(file games/corvantis games/corvantis-make-book games/corvantis-make-tablebase
            libexec/corvantis/corvantis libexec/corvantis/corvantis-bench
            share/games/corvantis/Book.cvt share/games/corvantis/values.txt
            share/games/corvantis/tablebases/kqk.nbw.emd share/games/corvantis/tablebases/kpk.nbb.emd
            share/games/plugins/xboard/corvantis.eng share/man/man6/corvantis.6
            share/doc/corvantis/README.md share/doc/corvantis/book.md share/doc/corvantis/copyright)
        if(NOT EXISTS "${place}/${file}")
            message(SEND_ERROR "${file} is missing in ${place}")
        endif()
    endforeach()
    # The links of the pages lead to where things lie now.
    file(GLOB pages "${place}/share/doc/corvantis/*.md")
    foreach(page IN LISTS pages)
        check_links("${page}")
    endforeach()
endforeach()

# What a user meets who starts the installed program: a folder of his own with all that is needed, in which
# nothing is complained of and the book can be written.
set(launch ${CMAKE_COMMAND} -E env --unset=XDG_DATA_HOME --unset=CORVANTIS_HOME HOME=${WORK}/home)
set(program "${WORK}/relative/games/corvantis")
set(own "${WORK}/home/.local/share/corvantis")
file(WRITE "${WORK}/lines" "bkm\nquit\n")
function(start own)
    execute_process(COMMAND ${ARGN} INPUT_FILE "${WORK}/lines" OUTPUT_VARIABLE output ERROR_VARIABLE errors
        RESULT_VARIABLE result)
    if(NOT result EQUAL 0 OR NOT errors STREQUAL "" OR NOT output MATCHES "Opened 10 files.*e4"
            OR output MATCHES "\n(Error|Illegal|Invalid|WARNING|\\*\\*\\*)")
        message(SEND_ERROR "${ARGN} says ${result}:\n${output}${errors}")
    endif()
    foreach(file Book.cvt Corvantis.ini values.txt)
        if(NOT EXISTS "${own}/${file}")
            message(SEND_ERROR "${file} is missing in ${own}")
        endif()
    endforeach()
endfunction()
start("${own}" ${launch} ${program})
start("${WORK}/data/corvantis" ${launch} XDG_DATA_HOME=${WORK}/data ${program})
start("${WORK}/home/mine" ${launch} XDG_DATA_HOME=${WORK}/data CORVANTIS_HOME=${WORK}/home/mine ${program})
# What is the user's stays; what he has removed comes back; parameters follow the installed ones.
file(APPEND "${own}/Corvantis.ini" "\nResignTimes = 7\n")
file(REMOVE "${own}/Book.cvt")
file(CREATE_LINK /nowhere/values.txt "${own}/values.txt" SYMBOLIC)
start("${own}" ${launch} ${program})
file(STRINGS "${own}/Corvantis.ini" lines REGEX "^ResignTimes = 7$")
if(lines STREQUAL "")
    message(SEND_ERROR "the user's configuration was written over")
endif()
file(GLOB left "${own}/*")
list(LENGTH left count)
if(NOT count EQUAL 3)
    message(SEND_ERROR "more than three files: ${left}")
endif()
# A link to the program, as in /usr/local/bin, finds everything all the same.
file(CREATE_LINK "${program}" "${WORK}/link" SYMBOLIC)
start("${own}" ${launch} ${WORK}/link)
# Where nothing can be written it still plays.
file(WRITE "${WORK}/file" "")
execute_process(COMMAND ${launch} CORVANTIS_HOME=${WORK}/file/in ${program} INPUT_FILE "${WORK}/lines"
    OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR NOT output MATCHES "Corvantis v" OR NOT errors MATCHES "file/in cannot be written")
    message(SEND_ERROR "without a folder it says ${result}:\n${output}${errors}")
endif()
# Without a home it makes none, and a search path of the shell's leads nowhere else.
execute_process(COMMAND ${launch} --unset=HOME ${program} INPUT_FILE "${WORK}/lines"
    OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR NOT output MATCHES "Corvantis v" OR NOT errors MATCHES "HOME is not set" OR EXISTS /nonexistent)
    message(SEND_ERROR "without HOME it says ${result}:\n${output}${errors}")
endif()
file(MAKE_DIRECTORY "${WORK}/elsewhere/data")
execute_process(COMMAND ${launch} CDPATH=${WORK}/elsewhere CORVANTIS_HOME=data ${program} WORKING_DIRECTORY "${WORK}/home"
    INPUT_FILE "${WORK}/lines" OUTPUT_VARIABLE output RESULT_VARIABLE result)
if(NOT result EQUAL 0 OR NOT output MATCHES "^Corvantis v" OR NOT EXISTS "${WORK}/home/data/Book.cvt")
    message(SEND_ERROR "with CDPATH it says ${result}:\n${output}")
endif()
expect(0 "^usage: corvantis " ${launch} ${program} --help)
expect(0 "^Corvantis 1\\.70\n$" ${launch} ${program} --version)
expect(2 "^corvantis: '--book' is no option" ${launch} ${program} --book)
expect(0 "\n[0-9]+ nodes [0-9]+ nps\n$" ${launch} ${program} bench 2)

# Books: a player whose name stands there the other way round.
file(WRITE "${WORK}/games.pgn" "[White \"Miller, Anna\"]\n[Black \"Somebody\"]\n[Result \"1-0\"]\n\n1. e4 e5 2. Nf3 1-0\n")
expect(1 "whose name begins with \"Anna Miller\"; in PGN the family name stands first\nno moves: new.cvt is not written"
    "${BUILD}/make_book" --player "Anna Miller" --output new.cvt games.pgn)
expect(0 "3 moves of 1 games" "${BUILD}/make_book" --player "miller" --output new.cvt games.pgn)
expect(0 "^usage: make_book " "${BUILD}/make_book" --help)

# Tables: made, there already, damaged, and a stranger's.
set(make "${BUILD}/make_tablebase" --output tables)
expect(0 "1 tables to make, 0 are there already.*kqk made.*longest mate 10 moves.*kqk verified" ${make} --verify KQK kqk)
expect(0 "0 tables to make, 1 are there already" ${make} kqk)
file(APPEND "${WORK}/tables/kqk.nbw.emd" "more")
expect(0 "1 tables to make" ${make} kqk)
file(WRITE "${WORK}/tables/krk.nbb.emd" "a stranger's")
expect(1 "tables/krk.nbb.emd is in the way" ${make} krk)
file(READ "${WORK}/tables/krk.nbb.emd" text)
if(NOT text STREQUAL "a stranger's")
    message(SEND_ERROR "a stranger's file was written over")
endif()
expect(1 "no material is named" ${make})
expect(1 "kbkr is no material" ${make} kbkr)
expect(1 "--threads takes a number" ${make} --threads x kqk)
expect(1 "--output needs a value" ${make} --output)
expect(0 "^usage: " ${make} --help)
file(REMOVE_RECURSE "${WORK}")
