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

// An expression, what it comes to at time 1, and which operands may lie on the evaluator's stack
// when it was stopped: whole ones.
struct Evaluation {
    const char* name;
    ExpressionAST* expression;
    std::string result;
    std::vector<std::string> operands;
};

struct Evaluations {
    Tree t;
    SourceOwner owner;
    std::deque<FakeStream> streams;
    std::vector<Evaluation> rows;

    template <typename Node>
    Node* unread(const std::string& text)
    {
        return placed(t.program.make<Node>(), owner, streams.emplace_back(text), 0, static_cast<int>(text.size()));
    }

    template <typename Node>
    Node* unreadOfFile(const std::string& text)
    {
        Node* node = unread<Node>(text);
        node->scenePath = "c.scene";
        return node;
    }

    // More levels than a first chunk of the evaluator's stacks has room for.
    static ExpressionAST* wrapped(ExpressionAST* node, const auto& around)
    {
        for (int i = 0; i < 40; ++i)
            node = around(node);
        return node;
    }

    Evaluations()
    {
        using Texts = ListTypeExpressionAST<CharString>;
        using Vectors = ListTypeExpressionAST<Vector>;
        using Colors = ListTypeExpressionAST<Color>;
        using Floats = ListTypeExpressionAST<float>;
        using Ints = ListTypeExpressionAST<int>;
        const std::string digits = "3f800000" + std::string(112, '0');
        const std::string transform = "xform(1 0 0, 0 0 0, 0 0 0, 0 0 0)";
        const std::string text = R"("text" in "a.scene")", vec = "vec(1 2 3)";
        const auto sample = [&](char letter) { return t.node(sampleOf(letter)); };
        const auto blend = [&](const Operand& from, const Operand& to) { return t.keys({{0, from}, {2, to}}); };
        auto* unowned = t.program.make<StringExpressionAST>();
        unowned->text = "unowned";
        unowned->length = 2;
        // clang-format off
        rows = {
            {"text",              sample('s'),                                  text, {}},
            {"texts",             sample('S'),                                  R"(string["one", "two"] in "b.scene")", {}},
            {"text of nobody",    unowned,                                      R"("un")", {}},
            {"unread text",       unreadOfFile<StringExpressionAST>("lamp"),    R"("lamp" in "c.scene")", {}},
            {"unread texts",      unreadOfFile<Texts>("'a', 'b'"),              R"(string["a", "b"] in "c.scene")", {}},
            {"unread vectors",    unread<Vectors>("1 2 3, 4 5 6"),              "vec[1 2 3, 4 5 6]", {}},
            {"unread colors",     unread<Colors>("1 2 3, 4 5 6"),               "rgb[1 2 3, 4 5 6]", {}},
            {"unread floats",     unread<Floats>("1 2.5"),                      "float[1 2.5]", {}},
            {"unread ints",       unread<Ints>("1 2"),                          "int[1 2]", {}},
            {"unread transform",  unread<TransformHexExpressionAST>(digits),    transform, {}},
            {"unreadable",        unread<Ints>("1 x"),                          "fails: Expected an integer at byte 2 of the source.", {}},
            {"element of texts",  t.element(unreadOfFile<Texts>("'a', 'b'"), {1}), R"("b" in "c.scene")", {}},
            {"of vectors",        t.element(unread<Vectors>("1 2 3"), {0, 2}),  "3", {}},
            {"of colors",         t.element(unread<Colors>("1 2 3"), {0, 2}),   "3", {}},
            {"of floats",         t.element(unread<Floats>("1 2.5"), {1}),      "2.5", {}},
            {"of ints by ints",   t.element(unread<Ints>("1 2"), {t.element(unread<Ints>("1 0"), {0})}), "2", {}},
            {"of none",           t.element(unread<Ints>("1 2"), {2}),          "fails: Array index is out of range.", {}},
            {"list",              t.list({1.0, sample('s'), t.list({sample('s')})}), "[1, " + text + ", [" + text + "]]", {}},
            {"lists joined",      t.sum(sample('L'), t.list({2.0})),            "[1, rgb(1 0 0), 2]", {"[1, rgb(1 0 0)]"}},
            {"list and text",     t.sum(t.list({}), sample('s')),               "[" + text + "]", {"[]"}},
            {"vectors joined",    t.sum(sample('v'), sample('v')),              "vec[1 2 3, 4 5 6, 1 2 3, 4 5 6]", {}},
            {"colors joined",     t.sum(sample('c'), unread<Colors>("1 2 3")),  "rgb[1 0 0, 1 2 3]", {"rgb[1 0 0]"}},
            {"floats joined",     t.sum(sample('f'), unread<Floats>("1")),      "float[0.5 0.25 1]", {"float[0.5 0.25]"}},
            {"ints joined",       t.sum(sample('i'), unread<Ints>("1")),        "int[1 -2 1]", {"int[1 -2]"}},
            {"not to be added",   t.sum(1.0, sample('s')),                      "fails: Unable to sum.", {"1"}},
            {"blended vectors",   blend(sample('v'), unread<Vectors>("3 2 1, 6 5 4")), "vec[2 2 2, 5 5 5]", {}},
            {"blended transforms", blend(unread<TransformHexExpressionAST>(digits), unread<TransformHexExpressionAST>(digits)), transform, {}},
            {"held text",         blend(sample('s'), 5.0),                      text, {}},
            {"unresolved times",  t.keys({{t.element(unread<Ints>("0 2"), {0}), sample('s')}, {t.element(unread<Ints>("0 2"), {1}), 1.0}}), text, {}},
            {"reference",         t.reference(t.property(sample('s'))),         text, {}},
            {"deep stack",        wrapped(t.vec(1, 2, 3), [&](auto* node) { return t.product(1.0, node); }), vec, {"1"}},
            {"deep held values",  wrapped(t.vec(1, 2, 3), [&](auto* node) { return blend(t.vec(1, 2, 3), node); }), vec, {vec}},
        };
        // clang-format on
    }
};

// A mutex that stayed locked would hang the repetition.
TEST(OutOfMemory, StopsAnEvaluationThatCanBeRepeated)
{
    const std::size_t count = Evaluations().rows.size();
    for (std::size_t i = 0; i < count; ++i) {
        const int failing = atEveryAllocation([i](const Shortage& shortage) {
            Evaluations scene;
            const auto& [name, expression, result, operands] = scene.rows[i];
            CalculationVisitor evaluator;
            evaluator.setTimeParam(1);
            const auto evaluate = [&, node = expression] {
                try {
                    node->accept(&evaluator);
                } catch (const InvalidOpException&) { // compared below
                }
            };
            const auto top = [&] { return shown(evaluator.getResult()); };

            const Outcome outcome = during(shortage, evaluate);
            EXPECT_TRUE(outcome != Outcome::Stopped || top() == "undefined"
                        || std::ranges::count(operands, top()) == 1)
                << name << " leaves " << top() << " when allocation " << shortage.at << " fails";
            evaluate();
            EXPECT_TRUE(top() == result || result.starts_with("fails: "))
                << name << " comes to " << top() << " after allocation " << shortage.at << " failed";
            EXPECT_EQ(resultOf(expression, 1), result) << name << ", allocation " << shortage.at;
            for (const FakeStream& stream : scene.streams)
                EXPECT_EQ(stream.outOfTurn, 0) << name;
            return outcome;
        });
        EXPECT_GT(failing, 0) << Evaluations().rows[i].name;
    }
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
    std::vector<std::string> names;
    std::string numbers;
    for (int i = 0; i < many; ++i) {
        names.push_back("an object whose name takes memory " + std::to_string(i));
        numbers += (i == 0 ? "[" : ", ") + std::to_string(i);
    }
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
                number->number = i;
                insistOn([&] { program.append(list, number); });
                insistOn([&] { program.append(keys, number, number); });
                const char* name = names[static_cast<std::size_t>(i)].c_str();
                ObjectAST* object = insistOn([&] { return program.addObject(name); });
                PropertyAST* property = insistOn([&] { return object->addProperty("first", list); });
                insistOn([&] { return object->addProperty("second", keys); });
                insistOn([&] { program.addReferrer(property, object, property); });
            }
        });

        EXPECT_EQ(resultOf(list), numbers + "]");
        EXPECT_EQ(list->itemCount, many);
        EXPECT_EQ(lengthOf(keys->firstKey), many);
        EXPECT_EQ(keys->keyCount, many);
        EXPECT_EQ(resultOf(keys, 2.5), "2.5");
        EXPECT_EQ(lengthOf(program.firstObject), many);
        for (const std::string& name : names) {
            const ObjectAST* object = program.getObject(name.c_str());
            if (!object) {
                ADD_FAILURE() << name << " is missing when allocation " << shortage.at << " fails";
                break;
            }
            EXPECT_EQ(object->name, name.c_str());
            EXPECT_EQ(lengthOf(object->firstProperty), 2);
            EXPECT_EQ(object->firstProperty->name, "first");
            EXPECT_EQ(lengthOf(object->firstProperty->referrers), 1);
        }
        return outcome;
    });
    EXPECT_GT(failing, 2 * many);
}

// Keys stay as written until all of them are sorted.
TEST(OutOfMemory, LeavesAResolutionThatCanBeRepeated)
{
    const int failing = atEveryAllocation([](const Shortage& shortage) {
        Tree t;
        ObjectAST* lamp = t.program.addObject("lamp");
        lamp->addProperty("power", t.node(2.0));
        InterpolateExpressionAST* keys = t.keys({{3, 30}, {t.reference("lamp", "power"), 20}, {-1, 10}});
        PropertyAST* curve = lamp->addProperty("curve", t.list({t.reference("lamp", "power"), keys}));
        const InterpolateKey* written = keys->firstKey;

        DecorationVisitor pass;
        pass.setProgram(&t.program);
        const auto resolve = [&] { curve->expression->accept(&pass); };
        const Outcome outcome = during(shortage, resolve);
        if (outcome == Outcome::Stopped) {
            EXPECT_EQ(keys->firstKey, written);
            EXPECT_TRUE(keys->constantTimes().times.empty());
            resolve();
        }
        EXPECT_EQ(resultOf(curve->expression, 0.5), "[2, 15]") << shortage.at;
        return outcome;
    });
    EXPECT_GT(failing, 0);
}

// A failure whose sentence finds no memory is a lack of memory, never half a sentence.
TEST(OutOfMemory, LeavesMessagesWhole)
{
    const std::string whole = "Could not find brightness property of object the lamp behind the curtain";
    const int failing = atEveryAllocation([&](const Shortage& shortage) {
        Tree t;
        t.program.addObject("the lamp behind the curtain");
        ExpressionAST* reference = t.reference("the lamp behind the curtain", "brightness");
        DecorationVisitor pass;
        pass.setProgram(&t.program);
        std::string message;
        const Outcome outcome = during(shortage, [&] {
            try {
                reference->accept(&pass);
            } catch (const BadRefException& failure) {
                endShortage();
                message = failure.what();
            }
        });
        EXPECT_EQ(message, outcome == Outcome::Stopped ? "" : whole);
        return outcome;
    });
    EXPECT_GT(failing, 0);
}

} // namespace
} // namespace Marl::Tests
