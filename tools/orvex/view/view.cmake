# The live view: a command of the program where there is a server and what compresses pictures.
set(ORVEX_VIEW TRUE)
if(WIN32)
    set(ORVEX_VIEW FALSE)
    return()
endif()
find_package(PkgConfig)
foreach(module cpp-httplib libjpeg libpng)
    if(PkgConfig_FOUND)
        pkg_check_modules(view_${module} IMPORTED_TARGET ${module})
    endif()
    if(NOT PkgConfig_FOUND OR NOT view_${module}_FOUND)
        message(WARNING "without ${module} the program orvex has no live view")
        set(ORVEX_VIEW FALSE)
    endif()
endforeach()
if(NOT ORVEX_VIEW)
    return()
endif()

# The page becomes a part of the program.
set(page ${CMAKE_CURRENT_LIST_DIR}/page)
set(page_source ${CMAKE_CURRENT_BINARY_DIR}/page.cpp)
set(embed ${CMAKE_SOURCE_DIR}/cmake/OrvexEmbed.cmake)
file(GLOB page_files CONFIGURE_DEPENDS ${page}/*)
add_custom_command(OUTPUT ${page_source}
    COMMAND ${CMAKE_COMMAND} -DOUTPUT=${page_source} -DFOLDER=${page} -P ${embed}
    DEPENDS ${page_files} ${embed} VERBATIM)

file(GLOB view_sources CONFIGURE_DEPENDS ${CMAKE_CURRENT_LIST_DIR}/*.cpp)
target_sources(orvex_tool PRIVATE
    ${view_sources} ${page_source})
target_compile_definitions(orvex_tool PUBLIC ORVEX_VIEW)
target_link_libraries(orvex_tool PUBLIC
    PkgConfig::view_cpp-httplib PkgConfig::view_libjpeg PkgConfig::view_libpng)
