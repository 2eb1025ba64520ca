// The expressions that are measured, each written once for all contenders: the letter N is a double, a
// text or a tree in turn.
#pragma once

#include <benchmarks/formula_native.h>
#include <benchmarks/suite.h>

#include <type_traits>

namespace Bench {

template <Kind kind>
constexpr std::integral_constant<Kind, kind> ofKind;

template <class N>
auto stretched(const N& t)
{
    return xform(mat(vec(t, 0, 0), vec(N(0.5), t, 0), vec(N(0), 0.25, 1)), vec(N(1), 2, t));
}

// The last of a row of values, each made from the one before. A kept value is called wherever it is
// used: in a tree it is a property, and each call a reference to it.
template <class First, class Next>
auto last(const First& first, int count, Next next)
{
    auto value = kept(first);
    for (int i = 0; i < count; ++i)
        value = kept(next(value));
    return value();
}

// A bone's axes and its place, all of them moved by its parent.
template <class N>
auto rig(const N& t, int bones)
{
    const auto bone = [](const auto& parent) {
        return xform(
            mat(parent() * vec(N(0.2), 0.1, 0), parent() * vec(N(-0.1), 0.2, 0), parent() * vec(N(0), 0, 0.2)),
            parent() * vec(N(0.1), -0.2, 0.1));
    };
    return dot(last(stretched(t), bones, bone) * vec(N(1), 2, 3), vec(N(1), 0, 1));
}

template <class N>
auto chain(const N& t, int links)
{
    return last(t, links, [](const auto& link) { return link() + link(); });
}

// One line is one expression; row is called with its kind, its name and the expression. A number that
// meets only other numbers is written N(2), so that C++ does not compute it beforehand.
// clang-format off
template <class Row>
void forEachFormula(Row row)
{
    using enum Kind;
    row(ofKind<Numbers>, "t", []<class N>(N t) { return t; });
    row(ofKind<Numbers>, "S1", []<class N>(N t) { return t + 1; });
    row(ofKind<Numbers>, "S2", []<class N>(N t) { return 2 * t * t - 3 * t + 0.5; });
    row(ofKind<Numbers>, "S3", []<class N>(N t) { return t + 5.123 + 2 * t - t / 5.123 * 2 - t - t * 5.123 * 2 - t / (t + 5.123) + 2 * t; });
    row(ofKind<Numbers>, "S4", []<class N>(N t) { return sqrt(111.111 - sin(2 * t) + cos(3.1415926 / (t + 1)) / 333.333); });
    row(ofKind<Numbers>, "S5", []<class N>(N t) { return t * t / sin(N(2) * 3.14159 / (t + 2)) - t / 2; });
    row(ofKind<Numbers>, "S6", []<class N>(N t) { N sum = 1; for (int i = 0; i < 32; ++i) sum = sum * t + i * 0.01; return sum; });
    row(ofKind<Vectors>, "vector", []<class N>(N t) { return dot(0.5 * (vec(N(1), 2, 3) * t + vec(N(4), 5, 6)), vec(N(1), 0, 1)); });
    row(ofKind<Transforms>, "transform of a vector", []<class N>(N t) { return dot(stretched(t) * vec(N(1), 2, 3), vec(N(1), 0, 1)); });
    row(ofKind<Transforms>, "two transforms of a vector", []<class N>(N t) { return dot(stretched(t) * stretched(N(0.5)) * vec(N(1), 2, 3), vec(N(1), 0, 1)); });
    row(ofKind<Noise>, "noise of a vector", []<class N>(N t) { return noise(vec(t * 17.3, t * 5.7, t * 1.9)); });
}

// The same for what grows from property to property, and how often a walk would follow references: four
// times in a bone and twice in a link, again and again.
template <class Row>
void forEachGrowing(Row row)
{
    using enum Kind;
    row(ofKind<Transforms>, "rig of 5 bones", 0x1p10, []<class N>(N t) { return rig(t, 5); });
    row(ofKind<Transforms>, "rig of 10 bones", 0x1p20, []<class N>(N t) { return rig(t, 10); });
    row(ofKind<Transforms>, "rig of 20 bones", 0x1p40, []<class N>(N t) { return rig(t, 20); });
    row(ofKind<Transforms>, "rig of 50 bones", 0x1p100, []<class N>(N t) { return rig(t, 50); });
    row(ofKind<Numbers>, "chain of 10 links", 0x1p10, []<class N>(N t) { return chain(t, 10); });
    row(ofKind<Numbers>, "chain of 100 links", 0x1p100, []<class N>(N t) { return chain(t, 100); });
    row(ofKind<Numbers>, "chain of 1,000 links", 0x1p1000, []<class N>(N t) { return chain(t, 1000); });
}
// clang-format on

} // namespace Bench
