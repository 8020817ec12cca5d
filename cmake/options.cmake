# How the library and its tests are compiled and linked.
include(CheckCXXCompilerFlag)

if(NOT CMAKE_BUILD_TYPE AND NOT CMAKE_CONFIGURATION_TYPES)
    set(CMAKE_BUILD_TYPE Release CACHE STRING "Debug, Release, RelWithDebInfo or MinSizeRel" FORCE)
endif()
set(QMV_SANITIZE "" CACHE STRING "Sanitizers to build with, such as address,undefined")
option(QMV_COVERAGE "Count the lines and branches of the library that are run" OFF)
option(QMV_SMALL "Prefer a small library to a fast one" OFF)
option(QMV_WERROR "Treat warnings as errors" OFF)

set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_C_STANDARD 99)
set(CMAKE_C_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)

# D: an archive holds no times or owners, so that the same sources always give the same bytes.
set(CMAKE_C_ARCHIVE_CREATE "<CMAKE_AR> qcD <TARGET> <LINK_FLAGS> <OBJECTS>")
set(CMAKE_C_ARCHIVE_APPEND "<CMAKE_AR> qD <TARGET> <LINK_FLAGS> <OBJECTS>")
set(CMAKE_C_ARCHIVE_FINISH "<CMAKE_RANLIB> -D <TARGET>")

if(QMV_SANITIZE)
    add_compile_options(-fsanitize=${QMV_SANITIZE} -fno-sanitize-recover=all
                        -fno-omit-frame-pointer)
    add_link_options(-fsanitize=${QMV_SANITIZE})
endif()

function(qmv_warnings target)
    target_compile_options(${target} PRIVATE -Wall -Wextra -Wpedantic -Wconversion -Wshadow
                           $<$<BOOL:${QMV_WERROR}>:-Werror>)
endfunction()

# Flags that only some machines or compilers know.
function(qmv_add_if_supported target flag)
    string(MAKE_C_IDENTIFIER "QMV_HAS${flag}" has)
    check_cxx_compiler_flag(${flag} ${has})
    if(${has})
        target_compile_options(${target} PRIVATE ${flag})
    endif()
endfunction()

function(qmv_library_options target)
    qmv_warnings(${target})
    target_compile_definitions(${target} PRIVATE _GNU_SOURCE _FILE_OFFSET_BITS=64)
    target_compile_options(${target} PRIVATE
        -fno-exceptions -fno-rtti -fno-threadsafe-statics -fvisibility=hidden
        -ffunction-sections -fdata-sections -fstack-protector-strong)
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64")
        qmv_add_if_supported(${target} -fcf-protection)
    endif()
    # Elsewhere gcc checks the stack in every function, which MIPS16 code cannot do.
    if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|i.86|aarch64|s390x|ppc64")
        qmv_add_if_supported(${target} -fstack-clash-protection)
    endif()
    # -O3 makes it larger and hardly faster.
    target_compile_options(${target} PRIVATE $<$<CONFIG:Release>:-O2>)
    if(QMV_SMALL)
        # Without tables for unwinding: an exception of a program's callback cannot pass the library.
        target_compile_definitions(${target} PRIVATE QMV_SMALL)
        target_compile_options(${target} PRIVATE
            -Os -fno-asynchronous-unwind-tables -fno-unwind-tables)
    endif()
    if(QMV_COVERAGE)
        target_compile_options(${target} PRIVATE --coverage)
    endif()
    if(NOT QMV_SANITIZE)
        target_compile_options(${target} PRIVATE
            $<$<NOT:$<CONFIG:Debug>>:-U_FORTIFY_SOURCE -D_FORTIFY_SOURCE=2>)
    endif()
endfunction()

function(qmv_shared_link_options target)
    target_link_options(${target} PRIVATE
        -Wl,--version-script=${CMAKE_CURRENT_SOURCE_DIR}/cmake/libqmv.map
        # A program or another library that defines, say, crc32 does not take over this one's calls.
        -Wl,-Bsymbolic-functions
        # Functions of the C library are bound when they are first called: a page calls few of them.
        -Wl,-z,relro -Wl,-z,lazy -Wl,-z,noexecstack -Wl,--gc-sections
        # Two segments instead of four: fewer calls of the loader, and no gaps in the file.
        -Wl,-z,noseparate-code)
    if(QMV_COVERAGE)
        target_link_options(${target} PRIVATE --coverage)
    endif()
    if(NOT QMV_SANITIZE)
        target_link_options(${target} PRIVATE -Wl,--as-needed -Wl,-z,defs)
    endif()
    if(NOT QMV_SANITIZE AND NOT QMV_COVERAGE)
        # There is nothing to be done at the start and the end of a program, and the names that the
        # compiler's start files look for cost every start some thousand instructions.
        target_link_options(${target} PRIVATE -nostartfiles)
    endif()
endfunction()
