// One call of noise at scattered points.
#include <benchmarks/rows.h>

#include <benchmarks/plain_noise.h>

namespace Bench {

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
    addRow("walk alone/noise call", walk, Scattered(suite.points), [evaluator](const Point& p) {
        return evaluator->noise({p.x, p.y, p.z});
    });
    const auto plain = std::make_shared<PlainNoise>();
    addRow("walk alone/noise call", native, Scattered(suite.points),
           [plain](const Point& p) { return (*plain)(p.x, p.y, p.z); });
}

} // namespace Bench
