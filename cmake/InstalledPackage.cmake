# What a host's build asks for an installed OxParser: the CMake package and the pkg-config file. All
# places in them are relative to where they themselves are, so an installed tree can be moved.
include(CMakePackageConfigHelpers)

set(package_folder "${CMAKE_INSTALL_LIBDIR}/cmake/OxParser")
set(OXPARSER_RESOURCES "${CMAKE_INSTALL_DATADIR}/oxparser")
configure_package_config_file("${PROJECT_SOURCE_DIR}/cmake/OxParserConfig.cmake.in"
    "${CMAKE_CURRENT_BINARY_DIR}/OxParserConfig.cmake"
    INSTALL_DESTINATION "${package_folder}" PATH_VARS OXPARSER_RESOURCES)
write_basic_package_version_file("${CMAKE_CURRENT_BINARY_DIR}/OxParserConfigVersion.cmake"
    COMPATIBILITY SameMajorVersion)
install(EXPORT OxParserTargets NAMESPACE OxParser:: DESTINATION "${package_folder}")
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/OxParserConfig.cmake"
              "${CMAKE_CURRENT_BINARY_DIR}/OxParserConfigVersion.cmake"
              "${PROJECT_SOURCE_DIR}/cmake/FindLog4cpp.cmake"
    DESTINATION "${package_folder}")

# pkg-config: what is set as an absolute folder stays where it is.
foreach(folder IN ITEMS LIBDIR INCLUDEDIR DATADIR)
    if(IS_ABSOLUTE "${CMAKE_INSTALL_${folder}}")
        set(OXPARSER_PC_${folder} "${CMAKE_INSTALL_${folder}}")
    else()
        set(OXPARSER_PC_${folder} "\${prefix}/${CMAKE_INSTALL_${folder}}")
    endif()
endforeach()
if(IS_ABSOLUTE "${CMAKE_INSTALL_LIBDIR}")
    set(OXPARSER_PC_PREFIX "${CMAKE_INSTALL_PREFIX}")
else()
    file(RELATIVE_PATH up "${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig" "${CMAKE_INSTALL_PREFIX}")
    string(REGEX REPLACE "/$" "" OXPARSER_PC_PREFIX "\${pcfiledir}/${up}")
endif()
set(OXPARSER_PC_LIBS
    "-L\${libdir} -loxparser -lboost_filesystem -lboost_thread -lboost_system -pthread")
set(OXPARSER_PC_LIBS_PRIVATE "-llog4cpp -lfontconfig -lwoff2dec -lutf8proc -lz -ldl")
if(NOT BUILD_SHARED_LIBS)
    # There is only the static library, so what it needs is needed always.
    string(APPEND OXPARSER_PC_LIBS " ${OXPARSER_PC_LIBS_PRIVATE}")
endif()
configure_file("${PROJECT_SOURCE_DIR}/cmake/oxparser.pc.in"
    "${CMAKE_CURRENT_BINARY_DIR}/oxparser.pc" @ONLY)
install(FILES "${CMAKE_CURRENT_BINARY_DIR}/oxparser.pc"
    DESTINATION "${CMAKE_INSTALL_LIBDIR}/pkgconfig")
