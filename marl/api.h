// Marks what the shared library exports; everything else stays hidden inside it.
#pragma once

#if defined(__GNUC__)
#define MARL_API __attribute__((visibility("default")))
#else
#define MARL_API
#endif
