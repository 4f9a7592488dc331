# SPDX-FileCopyrightText: 2026 The obrim developers
# SPDX-License-Identifier: GPL-2.0-or-later
#
# Building parts of the project once more for 32 bits, on machines whose programs have 64: existing DB
# libraries are 32 bits wide. OBRIM_32_BITS says whether that can be done here.
include(CheckCXXSourceCompiles)

set(OBRIM_32_BITS OFF)
if(CMAKE_SYSTEM_PROCESSOR STREQUAL "x86_64" AND CMAKE_SIZEOF_VOID_P EQUAL 8 AND NOT OBRIM_FUZZ)
    set(CMAKE_REQUIRED_FLAGS -m32)
    check_cxx_source_compiles("#include <ctime>\n#include <string>\nint main() { return int(std::string(1, 'x').size() - sizeof(std::time_t) / 4); }"
        OBRIM_BUILDS_32_BITS)
    unset(CMAKE_REQUIRED_FLAGS)
    if(OBRIM_BUILDS_32_BITS)
        set(OBRIM_32_BITS ON)
    else()
        message(WARNING "There will be no host for 32-bit DB libraries: g++ -m32 does not work. Debian: g++-multilib")
    endif()
endif()

# obrim_32_bits(target): target_32, the library `target` for 32 bits, and so for each library of the project's
# that it links.
function(obrim_32_bits target)
    if(TARGET ${target}_32)
        return()
    endif()
    get_target_property(folder ${target} SOURCE_DIR)
    get_target_property(names ${target} SOURCES)
    get_target_property(libraries ${target} LINK_LIBRARIES)
    list(TRANSFORM names PREPEND ${folder}/)
    add_library(${target}_32 STATIC EXCLUDE_FROM_ALL ${names})
    target_compile_options(${target}_32 PUBLIC -m32)
    target_link_options(${target}_32 INTERFACE -m32 $<TARGET_PROPERTY:${target},INTERFACE_LINK_OPTIONS>)
    target_compile_definitions(${target}_32 PRIVATE $<TARGET_PROPERTY:${target},COMPILE_DEFINITIONS>)
    target_include_directories(${target}_32 PUBLIC $<TARGET_PROPERTY:${target},INTERFACE_INCLUDE_DIRECTORIES>)
    set_target_properties(${target}_32 PROPERTIES CXX_VISIBILITY_PRESET hidden VISIBILITY_INLINES_HIDDEN ON)
    foreach(library ${libraries})
        if(TARGET ${library})
            obrim_32_bits(${library})
            set(library ${library}_32)
        endif()
        if(library) # obrimdb links nothing: "libraries-NOTFOUND"
            target_link_libraries(${target}_32 PUBLIC ${library})
        endif()
    endforeach()
endfunction()
