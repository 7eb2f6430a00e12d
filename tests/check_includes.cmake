# check_includes.cmake - includes go one way, and no file includes itself by a detour.
#
#   cmake -DSOURCE_DIR=<folder> -P check_includes.cmake
#
# Every include of a file of ours is written "folder/file.h". allowed_<folder> lists the
# folders that files in <folder> may include; main.cpp, tools and tests may include anything,
# and nothing includes them.
cmake_policy(SET CMP0057 NEW)

set(allowed_board board)
set(allowed_eval board eval)
set(allowed_book board book)
set(allowed_tablebases board tablebases)
set(allowed_search board eval book tablebases search)
set(allowed_driver board eval book tablebases search driver)
set(folders board eval book tablebases search driver)

set(faults)
set(headers)

foreach(folder IN LISTS folders)
    file(GLOB files RELATIVE ${SOURCE_DIR} ${SOURCE_DIR}/${folder}/*.h ${SOURCE_DIR}/${folder}/*.cpp)
    foreach(file IN LISTS files)
        file(STRINGS ${SOURCE_DIR}/${file} lines REGEX "^[ \t]*#[ \t]*include[ \t]*\"")
        set(included)
        foreach(line IN LISTS lines)
            string(REGEX REPLACE "^[ \t]*#[ \t]*include[ \t]*\"([^\"]*)\".*" "\\1" target "${line}")
            if(NOT target MATCHES "^([a-z_]+)/[a-z0-9_]+\\.(h|def)$")
                list(APPEND faults "${file}: \"${target}\" is not written as folder/file.h")
            elseif(NOT CMAKE_MATCH_1 IN_LIST allowed_${folder})
                list(APPEND faults "${file}: ${folder} must not include ${target}")
            endif()
            list(APPEND included ${target})
        endforeach()
        if(file MATCHES "\\.h$")
            list(APPEND headers ${file})
            set("includes_of_${file}" ${included})
        endif()
    endforeach()
endforeach()

# Cycles: take away headers that include nothing that is left, until nothing changes.
list(LENGTH headers header_count)
set(left ${headers})
set(before none)
while(NOT "${left}" STREQUAL "${before}")
    set(before "${left}")
    foreach(header IN LISTS before)
        set(free TRUE)
        foreach(target IN LISTS "includes_of_${header}")
            if(target IN_LIST left)
                set(free FALSE)
            endif()
        endforeach()
        if(free)
            list(REMOVE_ITEM left ${header})
        endif()
    endforeach()
endwhile()
if(left)
    list(APPEND faults "these headers include each other in a circle (or lean on one): ${left}")
endif()

if(faults OR header_count EQUAL 0)
    list(JOIN faults "\n" text)
    message(FATAL_ERROR "${header_count} headers in ${SOURCE_DIR}\n${text}")
endif()
message(STATUS "${header_count} headers, all includes in order")
