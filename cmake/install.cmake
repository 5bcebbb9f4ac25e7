# The headers of the binary contract, included as "platform/effect.h", and the pkg-config file that finds them.
# The file names its prefix relative to itself, so that `cmake --install --prefix` may choose another one.
install(DIRECTORY ${CMAKE_SOURCE_DIR}/src/platform/ DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/larkmoor/platform
        FILES_MATCHING PATTERN *.h)
# "kernels/exports.h": the exported kernels, and what it needs.
foreach(HEADER exports barn chroma_key clock copy mask_border mask_generator push rgba squeeze view zoom)
    install(FILES ${CMAKE_SOURCE_DIR}/src/kernels/${HEADER}.h
            DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/larkmoor/kernels)
endforeach()

file(RELATIVE_PATH PREFIX_FROM_PC ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${CMAKE_SOURCE_DIR}/cmake/larkmoor.pc.in ${CMAKE_BINARY_DIR}/larkmoor.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/larkmoor.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
