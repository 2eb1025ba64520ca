# How every target of this project is compiled. All of it is private: a host that
# links the library keeps its own flags.
function(marl_target target)
    target_compile_features(${target} PRIVATE cxx_std_20)
    set_target_properties(${target} PROPERTIES
        CXX_EXTENSIONS OFF
        COMPILE_WARNING_AS_ERROR ${MARL_WARNINGS_AS_ERRORS})
    target_compile_options(${target} PRIVATE
        -Wall -Wextra -Wpedantic -Wconversion -Wdouble-promotion -Wshadow -Wnon-virtual-dtor
        # g++ 12 sees overlapping copies in plain string concatenation.
        $<$<CXX_COMPILER_ID:GNU>:-Wno-restrict>
        # Results are the same bits everywhere, so no product and sum may be fused into one
        # rounding. And the straight-line vectoriser of g++ 12 drops the rounding of
        # neighbouring values that go from double to float and back.
        -ffp-contract=off
        # A function that others could replace in a shared library would never be inlined there.
        $<$<CXX_COMPILER_ID:GNU>:-fno-semantic-interposition>
        # A square root is one instruction where nobody asks for errno.
        -fno-math-errno
        $<$<CXX_COMPILER_ID:GNU>:-fno-tree-slp-vectorize>
        # Kernels of compiled expressions go on from one to the next by calls that must be jumps;
        # where -Og does not make them so, they return instead.
        $<$<CXX_COMPILER_ID:GNU>:-foptimize-sibling-calls>)
    string(TOUPPER "${CMAKE_BUILD_TYPE}" build_type)
    if("${CMAKE_CXX_FLAGS} ${CMAKE_CXX_FLAGS_${build_type}}" MATCHES "-Og")
        target_compile_definitions(${target} PRIVATE MARL_KERNELS_RETURN=1)
    endif()
endfunction()
