# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# cmake -D PAGE=.. -D EXAMPLES=.. -P documentedexample.cmake
#
# The page for authors shows the examples whole: they must say the same.
file(READ ${PAGE} page)
foreach(file example/exampledb.cpp example/CMakeLists.txt examplec/examplecdb.c examplepy/examplepydb.py)
    file(READ ${EXAMPLES}/${file} example)
    string(FIND "${page}" "\n${example}```\n" at)
    if(at EQUAL -1)
        message(FATAL_ERROR "${PAGE} does not show ${EXAMPLES}/${file} as it is")
    endif()
endforeach()
