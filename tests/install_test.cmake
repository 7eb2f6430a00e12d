# install_test.cmake - what an installation holds, and what make_tablebase says to its users.
#
#   cmake -DBUILD=<folder> -DWORK=<folder> -P install_test.cmake
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
    file(STRINGS "${place}/share/corvantis/Corvantis.ini.sample" lines REGEX "^[^;]")
    if(NOT lines STREQUAL "EGTBPath = ${named}/share/corvantis/tablebases")
        message(SEND_ERROR "the sample in ${place} says: ${lines}")
    endif()
    foreach(file bin/corvantis share/corvantis/Book.cvt share/corvantis/values.txt
            share/corvantis/tablebases/kqk.nbw.emd share/corvantis/tablebases/kpk.nbb.emd)
        if(NOT EXISTS "${place}/${file}")
            message(SEND_ERROR "${file} is missing in ${place}")
        endif()
    endforeach()
endforeach()

# With everything in its place a start has nothing to complain of.
set(data "${WORK}/relative/share/corvantis")
file(WRITE "${WORK}/quit" "quit\n")
configure_file("${data}/Corvantis.ini.sample" "${data}/Corvantis.ini" COPYONLY)
execute_process(COMMAND "${WORK}/relative/bin/corvantis" INPUT_FILE "${WORK}/quit" OUTPUT_VARIABLE output
    RESULT_VARIABLE result WORKING_DIRECTORY "${data}")
if(NOT result EQUAL 0 OR NOT output MATCHES "Opened 10 files" OR output MATCHES "\n(Error|Illegal|Invalid|Unknown|\\*\\*\\*)")
    message(SEND_ERROR "a start of the installed program says ${result}:\n${output}")
endif()

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
