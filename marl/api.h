// What the shared library exports, and what its hosts must be compiled with.
#pragma once

#if defined(__GNUC__)
#define MARL_API __attribute__((visibility("default")))
#else
#define MARL_API
#endif

#ifndef __cpp_rtti
#error "Marl tells nodes apart by their run-time types, a host's own included: compile without -fno-rtti."
#endif

// MARL_GLIBCXX_DEBUG comes with the CMake target of a library that was built in this mode.
#if defined(_GLIBCXX_DEBUG) != defined(MARL_GLIBCXX_DEBUG)
#error "-D_GLIBCXX_DEBUG changes layouts, so library and host need it alike. -D_GLIBCXX_ASSERTIONS goes with any."
#endif
