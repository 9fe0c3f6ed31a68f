# What tells other builds where the libraries are. All paths begin at the file that names them, so that
# the installed tree may be moved.
include(CMakePackageConfigHelpers)

# orvex_package(<name> <compatibility> <description> LIBS <option>... [INCLUDES <folder>...]
# [DEPENDS <package>...]): the files for find_package, of the exported targets <name>-targets, and for
# pkg-config. Options of LIBS and the folders, which are below that of the headers, are for the latter.
function(orvex_package name compatibility description)
    cmake_parse_arguments(PARSE_ARGV 3 arg "" "" "LIBS;INCLUDES;DEPENDS")
    set(cmake_dir ${CMAKE_INSTALL_LIBDIR}/cmake/${name})
    set(pkgconfig_dir ${CMAKE_INSTALL_LIBDIR}/pkgconfig)
    install(EXPORT ${name}-targets NAMESPACE orvex:: DESTINATION ${cmake_dir})

    set(made ${CMAKE_CURRENT_BINARY_DIR}/${name})
    set(config "include(CMakeFindDependencyMacro)\n")
    foreach(package IN LISTS arg_DEPENDS)
        string(APPEND config "find_dependency(${package})\n")
    endforeach()
    string(APPEND config "include(\${CMAKE_CURRENT_LIST_DIR}/${name}-targets.cmake)\n")
    file(CONFIGURE OUTPUT ${made}-config.cmake CONTENT "${config}" @ONLY)
    write_basic_package_version_file(${made}-config-version.cmake COMPATIBILITY ${compatibility})
    install(FILES ${made}-config.cmake ${made}-config-version.cmake DESTINATION ${cmake_dir})

    file(RELATIVE_PATH to_prefix ${CMAKE_INSTALL_FULL_LIBDIR}/pkgconfig ${CMAKE_INSTALL_PREFIX})
    file(RELATIVE_PATH libdir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_LIBDIR})
    file(RELATIVE_PATH includedir ${CMAKE_INSTALL_PREFIX} ${CMAKE_INSTALL_FULL_INCLUDEDIR})
    string(REGEX REPLACE "/$" "" to_prefix ${to_prefix})
    list(TRANSFORM arg_INCLUDES PREPEND "-I\${includedir}/")
    list(JOIN arg_INCLUDES " " cflags)
    list(JOIN arg_LIBS " " libs)
    configure_file(${PROJECT_SOURCE_DIR}/cmake/package.pc.in ${made}.pc @ONLY)
    install(FILES ${made}.pc DESTINATION ${pkgconfig_dir})
endfunction()
