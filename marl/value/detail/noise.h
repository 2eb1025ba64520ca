#pragma once
#include <marl/value/records.h>
namespace Marl {
float noise(const Vector& point);
void noise(const float* x, const float* y, const float* z, float* results, int count);
}
