# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# cmake -D BUILD=.. -D WORK=.. -D GENERATOR=.. -D C_COMPILER=.. -D CXX_COMPILER=.. -D FLAGS=.. -P kit.cmake
#
# Installs the kit into WORK/installed and makes, builds and checks a project in each language in WORK, as the
# author of a DB library would: no toolkit at hand.
file(REMOVE_RECURSE ${WORK})

function(run)
    execute_process(COMMAND ${ARGN} WORKING_DIRECTORY ${WORK} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(MAKE_DIRECTORY ${WORK})
run(${CMAKE_COMMAND} --install ${BUILD} --component Development --prefix ${WORK}/installed)
file(GLOB headers RELATIVE ${WORK}/installed/include/obrim ${WORK}/installed/include/obrim/*)
set(expected MessageCommand.h MessageCommandRequest.h MessageEvent.h MessageEventParam.h MessageEventRequest.h
    MessageKeepAlive.h Messages.h Sensor.h WCompare.h dblib.h recordcodes.h recordlayout.h)
if(NOT headers STREQUAL expected)
    message(FATAL_ERROR "Installed headers: ${headers}")
endif()
file(STRINGS ${WORK}/installed/include/obrim/Messages.h toolkit REGEX "include *<Q")
if(toolkit)
    message(FATAL_ERROR "The kit asks for the toolkit: ${toolkit}")
endif()
foreach(page db-library.md dblib-check.md record-layout.md)
    if(NOT EXISTS ${WORK}/installed/share/doc/obrim-db/${page})
        message(FATAL_ERROR "The page ${page} is not part of the kit")
    endif()
endforeach()

# refused(STATUS ARGUMENT...): dblib-new ends with this exit status and says why.
function(refused status)
    execute_process(COMMAND ${WORK}/installed/bin/dblib-new ${ARGN} WORKING_DIRECTORY ${WORK}
        RESULT_VARIABLE result ERROR_VARIABLE said)
    if(NOT result EQUAL status OR NOT said MATCHES "^dblib-new: ")
        message(FATAL_ERROR "dblib-new ${ARGN}: status ${result}, \"${said}\"")
    endif()
endfunction()

refused(2)
refused(2 --rust plant)
refused(2 plant other)
foreach(name ../plant "plant 1" 1plant "")
    refused(2 "${name}")
endforeach()
run(${WORK}/installed/bin/dblib-new --help)
run(${WORK}/installed/bin/dblib-new --version)

set(languages c++ c)
if(NOT FLAGS MATCHES "-fsanitize") # Python leaves its memory to the program's end
    list(APPEND languages python)
endif()
foreach(language ${languages})
    set(name plant-${language})
    string(REPLACE "+" "x" name ${name})
    run(${WORK}/installed/bin/dblib-new --${language} ${name})
    refused(1 --${language} ${name})
    run(${CMAKE_COMMAND} -S ${name} -B ${name}/build -G ${GENERATOR} -D CMAKE_PREFIX_PATH=${WORK}/installed
        -D CMAKE_C_COMPILER=${C_COMPILER} -D CMAKE_C_FLAGS=${FLAGS}
        -D CMAKE_CXX_COMPILER=${CXX_COMPILER} -D CMAKE_CXX_FLAGS=${FLAGS} --no-warn-unused-cli
        -D Python3_EXECUTABLE=/usr/bin/python3 -D CMAKE_DISABLE_FIND_PACKAGE_Qt5=ON -D CMAKE_DISABLE_FIND_PACKAGE_Qt6=ON)
    run(${CMAKE_COMMAND} --build ${name}/build)
    run(${WORK}/installed/bin/dblib-check --write --only-failed --fetches 1000 --records 1000
        ${name}/build/installation/Libs/DBLib.a)
endforeach()
