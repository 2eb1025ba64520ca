// What is left when memory runs out: at every allocation that an operation makes, once with
// memory again for all that follows and once without.
#include <tests/faults/failing_memory.h>
#include <tests/support/fake_stream.h>
#include <tests/support/shown.h>
#include <tests/support/tree.h>

#include <marl/visitor/calculation_visitor.h>
#include <marl/visitor/decoration_visitor.h>

#include <algorithm>
#include <cstring>
#include <deque>
#include <string>
#include <vector>

namespace Marl::Tests {
namespace {

// The first test of this program, for a process builds its noise tables once: two of them.
TEST(OutOfMemory, BuildsNoHalfOfTheNoiseTables)
{
    int failed = 0;
    for (int at = 1;; ++at, ++failed) {
        const long before = liveAllocations();
        float noise = 0;
        if (during({at, false}, [&] { noise = CalculationVisitor().noise({1, 2, 3}); }) != Outcome::Stopped) {
            EXPECT_EQ(noise, 0x1.b74ff2p-3f);
            break;
        }
        EXPECT_EQ(liveAllocations(), before);
    }
    EXPECT_EQ(failed, 2);
}

// What a string or an array held before it was to grow.
TEST(OutOfMemory, LeavesValuesAsTheyWere)
{
    struct Held {
        CharString alone{"text"}, shared{"other"}, sharer{shared};
        PtrArray<Value> array;
        CharStringBuf buffer;

        Held()
        {
            array.allocArray(1);
            array.data[0] = CharString("element");
            buffer.resize(4);
            buffer.data[0] = 'b';
        }
        ~Held() { array.freeMem(); }

        std::string all() const { return shown(alone) + shown(shared) + shown(sharer) + shown(array) + buffer.data; }
    };
    const std::string before = R"("text""other""other"["element"]b)";
    const struct {
        const char* name;
        void (*change)(Held&);
        int allocations;
        const char* after;
    } rows[] = {
        // clang-format off
        {"a longer text",   [](Held& h) { h.alone = "longer text"; },    1, R"("longer text""other""other"["element"]b)"},
        {"text of its own", [](Held& h) { h.shared = "new"; },           2, R"("text""new""other"["element"]b)"},
        {"text cloned",     [](Held& h) { h.alone = h.shared.clone(); }, 2, R"("other""other""other"["element"]b)"},
        {"another array",   [](Held& h) { h.array.allocArray(2); },      1, R"("text""other""other"[undefined, undefined]b)"},
        {"a larger buffer", [](Held& h) { h.buffer.resize(100); },       1, R"("text""other""other"["element"]b)"},
        // clang-format on
    };
    for (const auto& [name, change, allocations, after] : rows) {
        const int failing = atEveryAllocation([&, doChange = change, wanted = after](const Shortage& shortage) {
            Held held;
            const Outcome outcome = during(shortage, [&] { doChange(held); });
            EXPECT_EQ(held.all(), outcome == Outcome::Stopped ? before : wanted);
            return outcome;
        });
        EXPECT_EQ(failing, 2 * allocations) << name;
    }
}

// A program of more records than the first blocks of its stores take. Each step that runs out of
// memory is repeated, after which nothing may be missing and nothing there twice.
TEST(OutOfMemory, LosesAndDoublesNothingInAProgram)
{
    constexpr int many = 70;
    const auto nameOf = [](int i) { return "an object whose name takes memory " + std::to_string(i); };
    const auto lengthOf = [](const auto* first) {
        int length = 0;
        for (; first; first = first->next)
            ++length;
        return length;
    };

    const int failing = atEveryAllocation([&](const Shortage& shortage) {
        Outcome outcome = Outcome::NotReached;
        const auto insistOn = [&](const auto& step) {
            try {
                return step();
            } catch (const std::bad_alloc&) {
                endShortage();
                outcome = Outcome::Stopped;
                return step();
            }
        };
        ProgramAST program;
        ListExpressionAST* list = nullptr;
        InterpolateExpressionAST* keys = nullptr;
        during(shortage, [&] {
            list = insistOn([&] { return program.make<ListExpressionAST>(); });
            keys = insistOn([&] { return program.make<InterpolateExpressionAST>(); });
            for (int i = 0; i < many; ++i) {
                auto* number = insistOn([&] { return program.make<NumberExpressionAST>(); });
                insistOn([&] { program.append(list, number); });
                insistOn([&] { program.append(keys, number, number); });
                const std::string name = insistOn([&] { return nameOf(i); });
                ObjectAST* object = insistOn([&] { return program.addObject(name.c_str()); });
                PropertyAST* property = insistOn([&] { return object->addProperty("list", list); });
                insistOn([&] { program.addReferrer(property, object, property); });
            }
        });
        EXPECT_EQ(list->itemCount, many);
        EXPECT_EQ(lengthOf(list->firstItem), many);
        EXPECT_EQ(keys->keyCount, many);
        EXPECT_EQ(lengthOf(keys->firstKey), many);
        EXPECT_EQ(lengthOf(program.firstObject), many);
        for (int i = 0; i < many; ++i) {
            const ObjectAST* object = program.getObject(nameOf(i).c_str());
            EXPECT_TRUE(object && lengthOf(object->firstProperty) == 1
                        && lengthOf(object->firstProperty->referrers) == 1)
                << nameOf(i) << " when allocation " << shortage.at << " fails";
        }
        return outcome;
    });
    EXPECT_GT(failing, 2 * many);
}

} // namespace
} // namespace Marl::Tests
