# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# cmake -D BUILD=.. -D WORK=.. -D GENERATOR=.. -D COMPILER=.. -D FLAGS=.. -P kit.cmake
#
# Installs the kit into WORK/installed and builds the installed example from it
# into WORK/example, as the author of a DB library would: no toolkit at hand.
file(REMOVE_RECURSE ${WORK})

function(run)
    execute_process(COMMAND ${ARGN} COMMAND_ECHO STDOUT COMMAND_ERROR_IS_FATAL ANY)
endfunction()

run(${CMAKE_COMMAND} --install ${BUILD} --component Development --prefix ${WORK}/installed)
file(GLOB headers RELATIVE ${WORK}/installed/include/obrim ${WORK}/installed/include/obrim/*)
set(expected MessageCommand.h MessageCommandRequest.h MessageEvent.h MessageEventParam.h MessageEventRequest.h
    MessageKeepAlive.h Messages.h Sensor.h WCompare.h)
if(NOT headers STREQUAL expected)
    message(FATAL_ERROR "Installed headers: ${headers}")
endif()
file(STRINGS ${WORK}/installed/include/obrim/Messages.h toolkit REGEX "include *<Q")
if(toolkit)
    message(FATAL_ERROR "The kit asks for the toolkit: ${toolkit}")
endif()

run(${CMAKE_COMMAND} -S ${WORK}/installed/share/doc/obrim-db/example -B ${WORK}/example -G ${GENERATOR}
    -D CMAKE_CXX_COMPILER=${COMPILER} -D CMAKE_CXX_FLAGS=${FLAGS} -D CMAKE_PREFIX_PATH=${WORK}/installed
    -D CMAKE_DISABLE_FIND_PACKAGE_Qt5=ON -D CMAKE_DISABLE_FIND_PACKAGE_Qt6=ON)
run(${CMAKE_COMMAND} --build ${WORK}/example)
