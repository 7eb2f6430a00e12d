# links.cmake - do the links of a page lead to files? Included by the tests of the documentation.

# check_links(PAGE): names every link, relative to the page's folder, that leads nowhere.
function(check_links page)
    get_filename_component(folder "${page}" DIRECTORY)
    file(READ "${page}" text)
    string(REPLACE "](" "@" text "${text}")
    string(REGEX REPLACE "[][;]" " " text "${text}")
    string(REGEX MATCHALL "@[a-zA-Z0-9_./-]+" links "${text}")
    foreach(link IN LISTS links)
        string(SUBSTRING "${link}" 1 -1 link)
        if(NOT EXISTS "${folder}/${link}")
            message(SEND_ERROR "${page}: ${link} does not exist")
        endif()
    endforeach()
endfunction()
