// All that the kernels take from other sources, included before an instruction set is raised.
#pragma once

#include <marl/compiled/detail/kernels.h>
#include <marl/value/detail/blend.h>
#include <marl/value/detail/functions.h>
#include <marl/value/detail/noise.h>
#include <marl/value/detail/operators.h>

#include <algorithm>
#include <cstring>
#include <type_traits>
#include <utility>
#include <variant>
