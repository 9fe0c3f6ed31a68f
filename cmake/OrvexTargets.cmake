# Flags that every target of the project carries; warnings are errors everywhere.
add_library(orvex_flags INTERFACE)
target_compile_options(orvex_flags INTERFACE
    -Wall -Wextra -Wpedantic -Wconversion -Wshadow -Werror
    $<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor>)
target_include_directories(orvex_flags INTERFACE ${CMAKE_SOURCE_DIR}/include)
if(ORVEX_SANITIZE)
    target_compile_options(orvex_flags INTERFACE
        -fsanitize=${ORVEX_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(orvex_flags INTERFACE -fsanitize=${ORVEX_SANITIZE})
endif()

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
