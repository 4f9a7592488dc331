# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# cmake -D PAGE=.. -D EXAMPLE=.. -P documentedexample.cmake
#
# The page for authors shows the example whole: both files must say the same.
file(READ ${PAGE} page)
foreach(file exampledb.cpp CMakeLists.txt)
    file(READ ${EXAMPLE}/${file} example)
    string(FIND "${page}" "\n${example}```\n" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "${PAGE} does not show ${EXAMPLE}/${file} as it is")
    endif()
endforeach()
