// The noise at four points at once, for processors that have AVX2.
#include <marl/value/detail/noise_lattice.h>

#include <cstring>

#if defined(__x86_64__) && !defined(MARL_WITHOUT_AVX2)

// From here on the code is for those processors alone, and all of it stays within this source: the linker
// must never take a function that is shared with the rest of the program from here.
#ifdef __clang__
#pragma clang attribute push(__attribute__((target("avx2"))), apply_to = function)
#else
#pragma GCC push_options
#pragma GCC target("avx2")
#endif

namespace Marl {

namespace {

using Singles = float __attribute__((vector_size(16)));
using Integers = int __attribute__((vector_size(16)));
using Doubles = double __attribute__((vector_size(32)));
using Masks = long long __attribute__((vector_size(32)));
using SinglePairs = float __attribute__((vector_size(32))); // four times low, four times high

// Read one by one from memory, so apart.
struct Planes {
    unsigned a, b, c, d;
};

Doubles widened(Singles x)
{
#ifdef __clang__
    return __builtin_convertvector(x, Doubles);
#else
    return __builtin_ia32_cvtps2pd256(x); // which g++ 12 does not find by itself
#endif
}

Singles single(Doubles x)
{
    return __builtin_convertvector(x, Singles);
}

Singles rounded(Integers cell)
{
    return __builtin_convertvector(cell, Singles);
}

// The instruction gives the smallest int for NaN and what 32 bits cannot hold, which is what is wanted.
Integers truncated(Doubles x)
{
    return __builtin_ia32_cvttpd2dq256(x);
}

Doubles upward(Doubles x)
{
    const Doubles step = {0.999999999, 0.999999999, 0.999999999, 0.999999999};
    const Masks isDown = ~(x >= Doubles{});
    return reinterpret_cast<Doubles>(isDown & reinterpret_cast<Masks>(step));
}

Planes planes(Integers cell)
{
    return {static_cast<unsigned>(cell[0]), static_cast<unsigned>(cell[1]), static_cast<unsigned>(cell[2]),
            static_cast<unsigned>(cell[3])};
}

Planes operator+(const Planes& l, const Planes& r)
{
    return {l.a + r.a, l.b + r.b, l.c + r.c, l.d + r.d};
}

LowAndHigh<Planes> hashes(const NoiseTables& tables, const Planes& planes)
{
    const unsigned *a = tables.permutation + planes.a % 256, *b = tables.permutation + planes.b % 256;
    const unsigned *c = tables.permutation + planes.c % 256, *d = tables.permutation + planes.d % 256;
    return {{a[0], b[0], c[0], d[0]}, {a[1], b[1], c[1], d[1]}};
}

SinglePairs pairs(Singles low, Singles high)
{
    return __builtin_shufflevector(low, high, 0, 1, 2, 3, 4, 5, 6, 7);
}

// x, y, z and nothing of one point's gradient at low x, then of that at high x.
SinglePairs gradientPair(const NoiseTables& tables, unsigned hash)
{
    SinglePairs pair;
    std::memcpy(&pair, tables.gradients + hash % 256, sizeof pair);
    return pair;
}

LowAndHigh<Doubles> pulls(const NoiseTables& tables, const Planes& hash, const LowAndHigh<Singles>& fromX,
                          Singles fromY, Singles fromZ)
{
    const SinglePairs a = gradientPair(tables, hash.a), b = gradientPair(tables, hash.b);
    const SinglePairs c = gradientPair(tables, hash.c), d = gradientPair(tables, hash.d);
    const SinglePairs xyOfAB = __builtin_shufflevector(a, b, 0, 8, 1, 9, 4, 12, 5, 13);
    const SinglePairs xyOfCD = __builtin_shufflevector(c, d, 0, 8, 1, 9, 4, 12, 5, 13);
    const SinglePairs zOfAB = __builtin_shufflevector(a, b, 2, 10, 3, 11, 6, 14, 7, 15);
    const SinglePairs zOfCD = __builtin_shufflevector(c, d, 2, 10, 3, 11, 6, 14, 7, 15);
    const SinglePairs x = __builtin_shufflevector(xyOfAB, xyOfCD, 0, 1, 8, 9, 4, 5, 12, 13);
    const SinglePairs y = __builtin_shufflevector(xyOfAB, xyOfCD, 2, 3, 10, 11, 6, 7, 14, 15);
    const SinglePairs z = __builtin_shufflevector(zOfAB, zOfCD, 0, 1, 8, 9, 4, 5, 12, 13);
    const SinglePairs pull = x * pairs(fromX.low, fromX.high) + y * pairs(fromY, fromY) + z * pairs(fromZ, fromZ);
    return {widened(__builtin_shufflevector(pull, pull, 0, 1, 2, 3)),
            widened(__builtin_shufflevector(pull, pull, 4, 5, 6, 7))};
}

} // namespace

} // namespace Marl

#include <marl/value/detail/noise_cell.h>

namespace Marl {

void noiseByAvx2(const NoiseTables& tables, const float* x, const float* y, const float* z, float* results, int count)
{
    constexpr int lanes = 4;
    const auto compute = [&](int first, std::size_t size) {
        Singles pointX{}, pointY{}, pointZ{};
        std::memcpy(&pointX, x + first, size);
        std::memcpy(&pointY, y + first, size);
        std::memcpy(&pointZ, z + first, size);
        const Singles result = noiseInCell(tables, pointX, pointY, pointZ);
        std::memcpy(results + first, &result, size);
    };
    int i = 0;
    for (; count - i >= lanes; i += lanes)
        compute(i, sizeof(Singles));
    if (i < count)
        compute(i, static_cast<std::size_t>(count - i) * sizeof(float));
}

} // namespace Marl

#ifdef __clang__
#pragma clang attribute pop
#else
#pragma GCC pop_options
#endif

#endif
