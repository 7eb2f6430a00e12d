# Writes a configuration file in which the folder of the tablebases is set and all else is a remark.
#
#   cmake -DSAMPLE=Corvantis.ini.sample -DFOLDER=tablebases -DOUTPUT=Corvantis.ini [-DKEEP=ON] -P Configuration.cmake
#
# With KEEP an existing file stays as it is: it may be somebody's own.
if(KEEP AND EXISTS "${OUTPUT}")
    return()
endif()
file(READ "${SAMPLE}" text)
set(remark [[;EGTBPath = c:\tablebases\]])
string(FIND "${text}" "${remark}" place)
if(place EQUAL -1)
    message(FATAL_ERROR "${SAMPLE} has no line \"${remark}\"")
endif()
# What the engine would not read as one folder, or not to its end, stays out.
string(LENGTH "EGTBPath = ${FOLDER}" length)
if(FOLDER MATCHES "[,;]" OR length GREATER 249)
    message(WARNING "${OUTPUT}: the folder ${FOLDER} cannot be named in it")
else()
    string(REPLACE "${remark}" "EGTBPath = ${FOLDER}" text "${text}")
endif()
file(WRITE "${OUTPUT}" "${text}")
