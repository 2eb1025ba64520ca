// Noise in its plain form, one corner of the cell after the other, on tables of arbitrary content.
#pragma once

#include <benchmarks/dice.h>

#include <cstddef>

namespace Bench {

class PlainNoise {
public:
    PlainNoise()
    {
        Dice dice;
        for (std::size_t i = 0; i < 256; ++i) {
            permutation[i] = dice.roll(256);
            gradients[i] = {coordinate(dice), coordinate(dice), coordinate(dice)};
        }
    }

    double operator()(float px, float py, float pz) const
    {
        const Axis x(px), y(py), z(pz);
        const double k000 = corner(x.low, y.low, z.low, x.fromLow, y.fromLow, z.fromLow);
        const double k100 = corner(x.high, y.low, z.low, x.fromHigh, y.fromLow, z.fromLow);
        const double k010 = corner(x.low, y.high, z.low, x.fromLow, y.fromHigh, z.fromLow);
        const double k110 = corner(x.high, y.high, z.low, x.fromHigh, y.fromHigh, z.fromLow);
        const double k001 = corner(x.low, y.low, z.high, x.fromLow, y.fromLow, z.fromHigh);
        const double k101 = corner(x.high, y.low, z.high, x.fromHigh, y.fromLow, z.fromHigh);
        const double k011 = corner(x.low, y.high, z.high, x.fromLow, y.fromHigh, z.fromHigh);
        const double k111 = corner(x.high, y.high, z.high, x.fromHigh, y.fromHigh, z.fromHigh);
        const double e00 = lerp(x.fade, k000, k100), e10 = lerp(x.fade, k010, k110);
        const double e01 = lerp(x.fade, k001, k101), e11 = lerp(x.fade, k011, k111);
        return lerp(z.fade, lerp(y.fade, e00, e10), lerp(y.fade, e01, e11));
    }

private:
    struct Gradient {
        float x, y, z;
    };

    struct Axis {
        explicit Axis(float coordinate)
        {
            const double wide = static_cast<double>(coordinate);
            const int cell = static_cast<int>(wide >= 0 ? wide : wide - 0.999999999);
            low = static_cast<unsigned>(cell) % 256;
            high = (low + 1) % 256;
            fromLow = coordinate - static_cast<float>(cell);
            fromHigh = coordinate - static_cast<float>(cell + 1);
            const double t = static_cast<double>(fromLow);
            fade = t * t * t * ((t * 6 - 15) * t + 10);
        }
        unsigned low, high;
        float fromLow, fromHigh;
        double fade;
    };

    static double lerp(double t, double a, double b) { return (b - a) * t + a; }
    static float coordinate(Dice& dice) { return static_cast<float>(2 * dice.fraction() - 1); }

    double corner(unsigned x, unsigned y, unsigned z, float dx, float dy, float dz) const
    {
        const Gradient& g = gradients[(x + permutation[(y + permutation[z]) % 256]) % 256];
        return static_cast<double>(g.x * dx + g.y * dy + g.z * dz);
    }

    unsigned permutation[256];
    Gradient gradients[256];
};

} // namespace Bench
