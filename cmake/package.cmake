# `cmake --build build/release --target package`: Debian packages by component and an archive that runs from any folder.
set(CPACK_GENERATOR DEB TGZ)
set(CPACK_PACKAGE_VENDOR "The Larkmoor developers")
set(CPACK_PACKAGE_CONTACT "The Larkmoor developers <developers@larkmoor.invalid>")
set(CPACK_PACKAGE_DIRECTORY ${CMAKE_BINARY_DIR}/packages)
set(CPACK_RESOURCE_FILE_LICENSE ${CMAKE_SOURCE_DIR}/LICENSE)
set(CPACK_STRIP_FILES ON)
set(CPACK_COMPONENTS_ALL runtime plugins openfx studio dev)
set(CPACK_DEB_COMPONENT_INSTALL ON)
set(CPACK_ARCHIVE_COMPONENT_INSTALL OFF)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS_PRIVATE_DIRS ${CMAKE_BINARY_DIR}/lib)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

# larkmoor_package(COMPONENT NAME SECTION SUMMARY TEXT DEPENDS)
function(larkmoor_package COMPONENT NAME SECTION SUMMARY TEXT DEPENDS)
    string(TOUPPER ${COMPONENT} UPPER)
    set(CPACK_DEBIAN_${UPPER}_PACKAGE_NAME ${NAME} PARENT_SCOPE)
    set(CPACK_DEBIAN_${UPPER}_PACKAGE_SECTION ${SECTION} PARENT_SCOPE)
    set(CPACK_DEBIAN_${UPPER}_PACKAGE_DEPENDS "${DEPENDS}" PARENT_SCOPE)
    set(CPACK_DEBIAN_${UPPER}_DESCRIPTION "${SUMMARY}\n${TEXT}" PARENT_SCOPE)
    set(CPACK_COMPONENT_${UPPER}_DESCRIPTION "${SUMMARY}\n${TEXT}" PARENT_SCOPE)
    set(DOC ${CMAKE_INSTALL_DATADIR}/doc/${NAME})
    install(FILES ${CMAKE_SOURCE_DIR}/data/copyright ${CMAKE_SOURCE_DIR}/docs/notice.md DESTINATION ${DOC}
            COMPONENT ${COMPONENT})
    install(FILES ${CMAKE_BINARY_DIR}/changelog.gz DESTINATION ${DOC} COMPONENT ${COMPONENT})
endfunction()

execute_process(COMMAND gzip -9nc ${CMAKE_SOURCE_DIR}/data/changelog OUTPUT_FILE ${CMAKE_BINARY_DIR}/changelog.gz
                COMMAND_ERROR_IS_FATAL ANY)
set(SAME "larkmoor (= ${PROJECT_VERSION})")
larkmoor_package(runtime larkmoor video "video effects for clips and stills"
    "33 effects, exact to the byte: filters, transitions, keying,\ngenerators and broadcast legality, with the command larkmoor for clips,\nstills and raw frames and the library that programs link."
    "")
larkmoor_package(plugins larkmoor-plugins video "video effects as plug-ins for editors"
    "The effects of Larkmoor as frei0r plug-ins, for FFmpeg, MLT, Kdenlive,\nShotcut and GStreamer." "${SAME}")
larkmoor_package(openfx larkmoor-openfx video "video effects for hosts of OpenFX"
    "The effects of Larkmoor as one OpenFX bundle, whole by itself, for hosts of\nfilm and grading." "")
# Looked for when they are first needed: letters, and the words of locales.
set(CPACK_DEBIAN_OPENFX_PACKAGE_RECOMMENDS "libfreetype6, libfontconfig1, libicu72")
install(FILES ${CMAKE_SOURCE_DIR}/data/openfx.overrides DESTINATION ${CMAKE_INSTALL_DATADIR}/lintian/overrides
        RENAME larkmoor-openfx COMPONENT openfx)
larkmoor_package(studio larkmoor-studio video "desktop studio for video effects"
    "Every effect of Larkmoor with its settings, live over a clip,\nand the export of whole films." "${SAME}")
# Buttons of its boxes, in other languages.
set(CPACK_DEBIAN_STUDIO_PACKAGE_RECOMMENDS "qt6-translations-l10n")
larkmoor_package(dev liblarkmoor-dev libdevel "video effects for programs: headers"
    "Headers, CMake package and pkg-config files of Larkmoor's host library, in C\nand C++, and of its module." "${SAME}")
foreach(COMPONENT RUNTIME PLUGINS)
    set(CPACK_DEBIAN_${COMPONENT}_PACKAGE_CONTROL_EXTRA ${CMAKE_SOURCE_DIR}/cmake/triggers)
endforeach()
set(CPACK_DEBIAN_PACKAGE_GENERATE_SHLIBS ON)
include(CPack)
