// The version of these headers. Versions are semantic; until 1.0 a minor version may change the interface.
#pragma once

#define MARL_VERSION_MAJOR 0
#define MARL_VERSION_MINOR 1
#define MARL_VERSION_PATCH 0

#define MARL_VERSION_TEXT_OF(major, minor, patch) #major "." #minor "." #patch
#define MARL_VERSION_TEXT_FROM(major, minor, patch) MARL_VERSION_TEXT_OF(major, minor, patch)

// "0.1.0"
#define MARL_VERSION_TEXT MARL_VERSION_TEXT_FROM(MARL_VERSION_MAJOR, MARL_VERSION_MINOR, MARL_VERSION_PATCH)

// One number that grows from version to version: 100 for 0.1.0, 10203 for 1.2.3.
#define MARL_VERSION (MARL_VERSION_MAJOR * 10000 + MARL_VERSION_MINOR * 100 + MARL_VERSION_PATCH)
