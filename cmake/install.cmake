# The headers of the binary contract, included as "platform/effect.h", and the pkg-config file that finds them.
# The file names its prefix relative to itself, so that `cmake --install --prefix` may choose another one.
# Tested by tests/install.
set(PLATFORM_HEADERS com_ptr component effect exports font message page threads time_format transform types)
# "kernels/exports.h": the exported kernels, and what it needs. "kernels/curve.h", "frame/surface.h": exported classes.
set(KERNELS_HEADERS exports barn chroma_key clock copy curve mask_border mask_generator push rgba squeeze view zoom)
set(FRAME_HEADERS surface)
# What the shared host library's C++ face consists of.
set(HOST_HEADERS error module services surface)
foreach(FOLDER src/platform src/kernels src/frame host)
    get_filename_component(NAME ${FOLDER} NAME)
    string(TOUPPER ${NAME} LIST)
    list(TRANSFORM ${LIST}_HEADERS REPLACE "(.+)" "${CMAKE_SOURCE_DIR}/${FOLDER}/\\1.h" OUTPUT_VARIABLE HEADERS)
    install(FILES ${HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/larkmoor/${NAME} COMPONENT dev)
endforeach()
install(FILES ${CMAKE_SOURCE_DIR}/host/larkmoor.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/larkmoor COMPONENT dev)

# pkg-config
file(RELATIVE_PATH PREFIX_FROM_PC ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
foreach(LIBRARY larkmoor larkmoor-host)
    configure_file(${CMAKE_SOURCE_DIR}/cmake/larkmoor.pc.in ${CMAKE_BINARY_DIR}/${LIBRARY}.pc @ONLY)
    install(FILES ${CMAKE_BINARY_DIR}/${LIBRARY}.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig COMPONENT dev)
endforeach()

# find_package(Larkmoor): the host library as Larkmoor::host
include(CMakePackageConfigHelpers)
set(PACKAGE_DIR ${CMAKE_INSTALL_LIBDIR}/cmake/Larkmoor)
install(TARGETS larkmoor_host_library EXPORT Larkmoor LIBRARY DESTINATION ${CMAKE_INSTALL_LIBDIR}
        COMPONENT runtime NAMELINK_COMPONENT dev)
install(EXPORT Larkmoor NAMESPACE Larkmoor:: FILE LarkmoorConfig.cmake DESTINATION ${PACKAGE_DIR} COMPONENT dev)
write_basic_package_version_file(${CMAKE_BINARY_DIR}/LarkmoorConfigVersion.cmake COMPATIBILITY SameMinorVersion)
install(FILES ${CMAKE_BINARY_DIR}/LarkmoorConfigVersion.cmake DESTINATION ${PACKAGE_DIR} COMPONENT dev)
