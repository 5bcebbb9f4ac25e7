# The headers of the binary contract, included as "platform/effect.h", and the pkg-config file that finds them.
# The file names its prefix relative to itself, so that `cmake --install --prefix` may choose another one.
# Tested by tests/install.
set(PLATFORM_HEADERS com_ptr component effect exports font message page time_format transform types)
# "kernels/exports.h": the exported kernels, and what it needs. "kernels/curve.h", "frame/surface.h": exported classes.
set(KERNELS_HEADERS exports barn chroma_key clock copy curve mask_border mask_generator push rgba squeeze view zoom)
set(FRAME_HEADERS surface)
foreach(FOLDER platform kernels frame)
    string(TOUPPER ${FOLDER} NAME)
    list(TRANSFORM ${NAME}_HEADERS REPLACE "(.+)" "${CMAKE_SOURCE_DIR}/src/${FOLDER}/\\1.h" OUTPUT_VARIABLE HEADERS)
    install(FILES ${HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/larkmoor/${FOLDER})
endforeach()

file(RELATIVE_PATH PREFIX_FROM_PC ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
configure_file(${CMAKE_SOURCE_DIR}/cmake/larkmoor.pc.in ${CMAKE_BINARY_DIR}/larkmoor.pc @ONLY)
install(FILES ${CMAKE_BINARY_DIR}/larkmoor.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
