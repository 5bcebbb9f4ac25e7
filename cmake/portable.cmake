# Files that other programs load: they bring the C++ library along, hidden, and stand on an old C library.
# larkmoor_portable(TARGET EXPORTS): a shared library whose version script is EXPORTS. Tested by tests/install.
function(larkmoor_portable TARGET EXPORTS)
    target_link_options(${TARGET} PRIVATE -Wl,--exclude-libs,ALL -Wl,--version-script=${EXPORTS})
    set_property(TARGET ${TARGET} APPEND PROPERTY LINK_DEPENDS ${EXPORTS})
    # A sanitizer wants to see allocations and exceptions.
    if(LARKMOOR_SANITIZE OR NOT CMAKE_SYSTEM_PROCESSOR STREQUAL x86_64 OR NOT CMAKE_SYSTEM_NAME STREQUAL Linux)
        return()
    endif()
    set(OLD ${CMAKE_SOURCE_DIR}/src/platform/posix/old_glibc)
    target_sources(${TARGET} PRIVATE ${OLD}.cpp ${OLD}.s)
    # Clang complains of options that an assembler has no use for.
    set_source_files_properties(${OLD}.s PROPERTIES COMPILE_OPTIONS -Wno-unused-command-line-argument)
    # An old C library keeps the last two apart.
    target_link_options(${TARGET} PRIVATE -static-libstdc++ -static-libgcc
        -Wl,--push-state,--no-as-needed,-l:libdl.so.2,-l:libpthread.so.0,--pop-state)
endfunction()
