// Shared text, shared arrays and the plain records.
#include <marl/value/array_hold.h>
#include <marl/value/char_string.h>
#include <marl/value/ptr_array.h>
#include <marl/value/records.h>

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace Marl::Tests {
namespace {

// Copied before a static library would initialise anything, for it is linked behind the objects that need it.
const Matrix identityAtStart = ID_mat, zeroAtStart = ZERO_mat;
const std::uint32_t maskAtStart = _mm_lookupmask_ps[1][0];

const char* textOf(const CharString& string)
{
    return string;
}

TEST(CharString, TellsNoTextFromEmptyText)
{
    EXPECT_FALSE(CharString() == CharString(""));
    EXPECT_FALSE(CharString("") == static_cast<const char*>(nullptr));
    EXPECT_TRUE(CharString() == CharString(nullptr));
}

TEST(CharString, SharesUntilItIsWrittenAlsoFromItself)
{
    const CharString first("text");
    CharString second(first), third;
    third = second;
    EXPECT_EQ(textOf(second), textOf(first));
    EXPECT_EQ(textOf(third), textOf(first));
    second = "other";
    EXPECT_STREQ(third, "text");
    EXPECT_NE(textOf(first.clone()), textOf(first));
    EXPECT_STREQ(first.clone(), "text");

    const struct {
        const char* before;
        const char* assigned;
    } rows[] = {{nullptr, "a"}, {"a", "abc"},       {"abc", "a"},    {"abc", ""},
                {"", ""},       {nullptr, nullptr}, {"abc", nullptr}};
    for (const auto& [before, assigned] : rows)
        for (const bool isShared : {false, true}) {
            CharString string(before);
            const CharString sharer = isShared ? string : CharString();
            string = assigned;
            CharString& same = string;
            string = same;
            string = std::move(same);
            EXPECT_STREQ(string, assigned);
            EXPECT_STREQ(sharer, isShared ? before : nullptr);
        }

    for (const bool isShared : {false, true}) {
        CharString string("0123456789");
        const CharString sharer = isShared ? string : CharString();
        string = textOf(string) + 3;
        EXPECT_STREQ(string, "3456789");
        EXPECT_STREQ(sharer, isShared ? "0123456789" : nullptr);
    }
}

TEST(PtrArray, SharesByCountUntilGivenUp)
{
    PtrArray<float> first;
    first.allocArray(3);
    EXPECT_EQ(first.data[0] + first.data[1] + first.data[2], 0);
    const int& count = first.shared->refCount;

    PtrArray<float> second(first), third;
    third = second;
    EXPECT_EQ(third.data, first.data);
    EXPECT_EQ(count, 3);
    PtrArray<float> fourth(std::move(third));
    EXPECT_EQ(third.data, nullptr);
    EXPECT_EQ(count, 3);
    second.allocArray(1); // gives up what it held
    EXPECT_EQ(count, 2);
    second = first;
    EXPECT_EQ(count, 3);

    second.freeMem();
    second.freeMem();
    fourth.freeMem();
    EXPECT_EQ(count, 1);
    first.allocArray(-1);
    EXPECT_EQ(first.count, 0);
    first.freeMem();
    EXPECT_EQ(first.shared, nullptr);
}

TEST(ArrayHold, GivesUpItsOwnReferenceAlsoWhenSomethingThrows)
{
    PtrArray<float> array;
    array.allocArray(2);
    array.data[1] = 0.5f;
    const int& count = array.shared->refCount;
    try {
        const ArrayHold hold{PtrArray<float>(array)};
        EXPECT_EQ(count, 2);
        EXPECT_EQ(hold->count, 2);
        EXPECT_EQ(hold[1], 0.5f);
        EXPECT_EQ(std::vector<float>(hold.begin(), hold.end()), (std::vector{0.0f, 0.5f}));
        throw 0;
    } catch (int) {
        EXPECT_EQ(count, 1);
    }

    const ArrayHold nothing{PtrArray<float>()};
    EXPECT_EQ(nothing.begin(), nothing.end());
    array.freeMem();
}

TEST(Records, ConstantsHoldWhatTheirNamesSay)
{
    EXPECT_EQ(ID_mat, Matrix({1, 0, 0}, {0, 1, 0}, {0, 0, 1}));
    EXPECT_EQ(ZERO_mat, Matrix());
    EXPECT_EQ(identityAtStart, ID_mat);
    EXPECT_EQ(zeroAtStart, ZERO_mat);
    EXPECT_EQ(maskAtStart, 0xFFFFFFFFu);
    EXPECT_EQ(Matrix(-7), Matrix({-7, 0, 0}, {0, -7, 0}, {0, 0, -7}));
    for (unsigned i = 0; i < 16; ++i)
        for (unsigned lane = 0; lane < 4; ++lane)
            EXPECT_EQ(_mm_lookupmask_ps[i][lane], (i >> lane & 1) != 0 ? 0xFFFFFFFFu : 0u) << i << " " << lane;
}

} // namespace
} // namespace Marl::Tests
