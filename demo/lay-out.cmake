# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# cmake -D from=DEMO-SOURCES -D base=INSTALLATION -P lay-out.cmake
# The times of the test data are counted back from now: old events are no demo.

file(MAKE_DIRECTORY "${base}/Pics" "${base}/Config" "${base}/Libs" "${base}/bin")
string(TIMESTAMP now "%s" UTC)

# Comments stay as they are; what follows "now-" becomes a time since the epoch.
function(lay_out_text name)
    file(STRINGS "${from}/Config/${name}" lines)
    set(text "")
    foreach(line IN LISTS lines)
        if(line MATCHES "^([A-Z_]+=)now-([0-9]+)$")
            set(key "${CMAKE_MATCH_1}")
            math(EXPR time "${now} - ${CMAKE_MATCH_2}")
            set(line "${key}${time}")
        endif()
        string(APPEND text "${line}\n")
    endforeach()
    file(WRITE "${base}/Config/${name}" "${text}")
endfunction()

foreach(name DebugInitSensor DebugInitEvents DebugInitCommands)
    lay_out_text(${name}.txt)
endforeach()
