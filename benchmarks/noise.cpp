// One call of noise at scattered points.
#include <benchmarks/rows.h>

namespace Bench {

namespace {

// The plain form of the same work, one corner of the cell after the other, on tables of arbitrary content.
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

    [[gnu::noinline]] double operator()(const Point& point) const
    {
        const Axis x(point.x), y(point.y), z(point.z);
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
        const Point& g = gradients[(x + permutation[(y + permutation[z]) % 256]) % 256];
        return static_cast<double>(g.x * dx + g.y * dy + g.z * dz);
    }

    unsigned permutation[256];
    Point gradients[256];
};

} // namespace

std::vector<Point> scatteredPoints()
{
    std::vector<Point> points(1 << 16); // more than branch predictors learn by heart
    Dice dice;
    const auto coordinate = [&dice] { return static_cast<float>(200 * dice.fraction() - 100); };
    for (Point& point : points) {
        point.x = coordinate();
        point.y = coordinate();
        point.z = coordinate();
    }
    return points;
}

void addNoise(const Suite& suite)
{
    const auto evaluator = std::make_shared<Marl::CalculationVisitor>();
    addRow("noise call", "Marl", Scattered(suite.points), [evaluator](const Point& p) {
        return evaluator->noise({p.x, p.y, p.z});
    });
    const auto plain = std::make_shared<PlainNoise>();
    addRow("noise call", "C++", Scattered(suite.points), [plain](const Point& p) { return (*plain)(p); });
}

} // namespace Bench
