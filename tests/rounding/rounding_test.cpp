// Optimised code must keep every rounding to single precision. The straight-line vectoriser of
// g++ 12 drops it where two neighbouring values go from double to float and back; at -O0, -O1
// and under the sanitizers the fault does not show.
#include <gtest/gtest.h>

void roundTwo(const double* in, double* out);

namespace {

TEST(Rounding, KeepsNeighboursApartFromTheirDoubles)
{
    const struct {
        double in[2], rounded[2];
    } rows[] = {
        {{0.1, 0.2}, {0x1.99999ap-4, 0x1.99999ap-3}},
        {{1.0 / 3, -2.0 / 3}, {0x1.555556p-2, -0x1.555556p-1}},
        {{1e-40, 3.3e38}, {0x1.16c2p-133, 0x1.f08760p+127}},
    };
    for (const auto& [in, rounded] : rows) {
        double out[2];
        roundTwo(in, out);
        EXPECT_EQ(out[0], rounded[0]);
        EXPECT_EQ(out[1], rounded[1]);
    }
}

} // namespace
