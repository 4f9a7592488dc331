# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# What Debian builds its packages with against faults that are exploited: docs/security.md lists it.
include(CheckCXXCompilerFlag)
include(CheckPIESupported)
check_pie_supported()

add_compile_definitions(_GLIBCXX_ASSERTIONS)
if(OBRIM_SANITIZE OR OBRIM_FUZZ OR OBRIM_COVERAGE)
    return() # the sanitizers look closer, and the checked functions of the C library would hide calls from them
endif()

add_compile_options(-Wformat -Wformat-security -fstack-protector-strong -fstack-clash-protection)
add_link_options(LINKER:-z,relro LINKER:-z,now)
# Checked functions need an optimised build.
add_compile_options($<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE> $<$<NOT:$<CONFIG:Debug>>:-D_FORTIFY_SOURCE=2>)
# Marked targets of indirect branches. 32-bit processors have nothing of the kind on Linux.
if(CMAKE_SIZEOF_VOID_P EQUAL 8)
    foreach(flag -fcf-protection -mbranch-protection=standard)
        string(MAKE_C_IDENTIFIER "OBRIM_HAS${flag}" has)
        check_cxx_compiler_flag(${flag} ${has})
        if(${has})
            add_compile_options(${flag})
        endif()
    endforeach()
endif()
