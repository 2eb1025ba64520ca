# For CMAKE_PROJECT_TOP_LEVEL_INCLUDES: a machine on which no package can be found.
macro(refuse_packages method package)
    if(NOT ${package} STREQUAL Threads)
        message(FATAL_ERROR "The library asks for the package ${package}.")
    endif()
endmacro()
cmake_language(SET_DEPENDENCY_PROVIDER refuse_packages SUPPORTED_METHODS FIND_PACKAGE)
