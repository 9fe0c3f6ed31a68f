# Flags that every target of the project carries. Warnings are errors, but for packagers, whose
# compiler may be another.
add_library(orvex_flags INTERFACE)
target_compile_options(orvex_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow $<$<BOOL:${ORVEX_WERROR}>:-Werror>
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)
target_include_directories(orvex_flags INTERFACE ${CMAKE_SOURCE_DIR}/include)
if(ORVEX_SANITIZE)
    target_compile_options(orvex_flags INTERFACE
        -fsanitize=${ORVEX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(orvex_flags INTERFACE -fsanitize=${ORVEX_SANITIZE})
endif()

# orvex_unity(<target> [<pattern of files to leave alone>]): compiles the sources of a folder as one,
# which reads the headers once. A file of its own stays one that holds a table under a name that
# others of the folder use too, or that has flags of its own.
function(orvex_unity target)
    if(NOT ORVEX_UNITY)
        return()
    endif()
    get_target_property(sources ${target} SOURCES)
    foreach(source IN LISTS sources)
        if(ARGC GREATER 1 AND source MATCHES "${ARGV1}")
            continue()
        endif()
        get_filename_component(folder ${source} DIRECTORY)
        string(REPLACE "/" "_" folder ${folder})
        set_source_files_properties(${source} PROPERTIES UNITY_GROUP ${folder})
    endforeach()
    set_target_properties(${target} PROPERTIES UNITY_BUILD ON UNITY_BUILD_MODE GROUP)
endfunction()

# orvex_sources(<variable> <folder>...): all C++ sources below the folders.
function(orvex_sources variable)
    set(found "")
    foreach(folder IN LISTS ARGN)
        file(GLOB_RECURSE part CONFIGURE_DEPENDS ${CMAKE_CURRENT_SOURCE_DIR}/${folder}/*.cpp)
        list(APPEND found ${part})
    endforeach()
    list(SORT found)
    set(${variable} ${found} PARENT_SCOPE)
endfunction()

# orvex_platform_sources(<variable> <folder>...): the same without what is for other systems, which
# stands in folders of that name.
function(orvex_platform_sources variable)
    orvex_sources(found ${ARGN})
    if(WIN32)
        list(FILTER found EXCLUDE REGEX "/posix/[^/]*$")
    else()
        list(FILTER found EXCLUDE REGEX "/windows/[^/]*$")
    endif()
    set(${variable} ${found} PARENT_SCOPE)
endfunction()

# orvex_header_only(<package> <version> <target>): a library of nothing but headers. Where packages are
# those of another system, ORVEX_HEADER_ONLY_DIR is a folder with the headers.
function(orvex_header_only package version target)
    if(NOT ORVEX_HEADER_ONLY_DIR)
        find_package(${package} ${version} REQUIRED GLOBAL)
    elseif(NOT TARGET ${target})
        add_library(${target} INTERFACE IMPORTED GLOBAL)
        target_include_directories(${target} INTERFACE ${ORVEX_HEADER_ONLY_DIR})
    endif()
endfunction()

# orvex_formats(<target> <macro> <folder> <ending> <list> <without> "<format> [<pkg-config module>]"...):
# adds the file of each image format whose library is there, or that needs none, and writes a list of
# them, one macro each. What the target is without stands in a warning.
function(orvex_formats target macro folder ending list without)
    # A pkg-config for another system has to be named; this system's would tell of its own libraries.
    if(NOT CMAKE_CROSSCOMPILING OR PKG_CONFIG_EXECUTABLE)
        find_package(PkgConfig)
    endif()
    set(rows "")
    foreach(row IN LISTS ARGN)
        separate_arguments(row)
        list(POP_FRONT row format module)
        if(module)
            set(found ${target}_${format})
            if(PkgConfig_FOUND)
                pkg_check_modules(${found} IMPORTED_TARGET ${module})
            endif()
            if(NOT PkgConfig_FOUND OR NOT ${found}_FOUND)
                message(WARNING "without ${module} ${without} ${format} files")
                continue()
            endif()
            target_link_libraries(${target} PUBLIC PkgConfig::${found})
        endif()
        string(TOLOWER ${format} file)
        target_sources(${target} PRIVATE ${folder}/${file}${ending})
        string(APPEND rows "${macro}(${format})\n")
    endforeach()
    file(CONFIGURE OUTPUT ${list} CONTENT "${rows}")
    target_include_directories(${target} PRIVATE ${CMAKE_CURRENT_BINARY_DIR})
endfunction()
