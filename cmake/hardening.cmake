# Compiler and linker flags that make exploiting a memory error harder: the program
# aborts instead. Linked privately to the libraries and programs.
include(CheckCXXCompilerFlag)
include(CheckLinkerFlag)
include(CheckPIESupported)

add_library(quillmarch_hardening INTERFACE)
check_pie_supported(LANGUAGES CXX)

# These flags would hide errors from the sanitizers.
if(MSVC OR QUILLMARCH_SANITIZE)
    return()
endif()

set(shipped $<CONFIG:Release,RelWithDebInfo,MinSizeRel>)

function(quillmarch_harden_compiler flag)
    string(MAKE_C_IDENTIFIER "QUILLMARCH_COMPILES${flag}" works)
    check_cxx_compiler_flag(${flag} ${works})
    if(${works})
        target_compile_options(quillmarch_hardening INTERFACE $<${shipped}:${flag}>)
    endif()
endfunction()

function(quillmarch_harden_linker flag)
    string(MAKE_C_IDENTIFIER "QUILLMARCH_LINKS${flag}" works)
    check_linker_flag(CXX ${flag} ${works})
    if(${works})
        target_link_options(quillmarch_hardening INTERFACE $<${shipped}:${flag}>)
    endif()
endfunction()

quillmarch_harden_compiler(-fstack-protector-strong)
quillmarch_harden_compiler(-fstack-clash-protection)
if(CMAKE_SYSTEM_PROCESSOR MATCHES "x86_64|AMD64|amd64|i.86")
    quillmarch_harden_compiler(-fcf-protection)
endif()
quillmarch_harden_linker(-Wl,-z,relro)
quillmarch_harden_linker(-Wl,-z,now)
quillmarch_harden_linker(-Wl,-z,noexecstack)

# Level 3 also checks sizes that are known only at run time; gcc supports it since 12.
set(fortify 2)
if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU" AND CMAKE_CXX_COMPILER_VERSION VERSION_GREATER_EQUAL 12)
    set(fortify 3)
endif()
# Undefined first, because a distribution's compiler may define another level.
target_compile_options(quillmarch_hardening INTERFACE
    $<${shipped}:-U_FORTIFY_SOURCE>
    $<${shipped}:-D_FORTIFY_SOURCE=${fortify}>
    $<${shipped}:-D_GLIBCXX_ASSERTIONS>)
