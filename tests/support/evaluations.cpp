#include <tests/support/evaluations.h>

#include <marl/visitor/decoration_visitor.h>

#include <algorithm>

namespace Marl::Tests {

bool Evaluation::mayLeave(const std::string& top) const
{
    return top == "undefined" || std::ranges::count(operands, top) == 1;
}

template <typename Node>
Node* Evaluations::unread(const std::string& text, const char* scenePath)
{
    const int length = static_cast<int>(text.size());
    Source& source = sources.emplace_back("???" + text);
    source.stream.position = 1;
    source.stream.givesAtMost = missing > 0 ? std::max(length - missing, 0) : INT_MAX;
    source.stream.reports = missing; // nobody looks at it
    Node* node = placed(t.program.make<Node>(), owner, source.stream, 3, length);
    source.isKept = std::same_as<Node, StringExpressionAST>;
    if constexpr (requires { node->scenePath; })
        node->scenePath = scenePath;
    return node;
}

template <typename List>
ExpressionAST* Evaluations::element(const std::string& text, std::initializer_list<Operand> indices)
{
    List* list = unread<List>(text, "c.scene");
    sources.back().isKept = true;
    return t.element(list, indices);
}

// More levels than a first chunk of the evaluator's stacks has room for.
static ExpressionAST* wrapped(ExpressionAST* node, const auto& around)
{
    for (int i = 0; i < 40; ++i)
        node = around(node);
    return node;
}

Evaluations::Evaluations(int lacking) : missing(lacking)
{
    using Text = StringExpressionAST;
    using Texts = ListTypeExpressionAST<CharString>;
    using Vectors = ListTypeExpressionAST<Vector>;
    using Colors = ListTypeExpressionAST<Color>;
    using Floats = ListTypeExpressionAST<float>;
    using Ints = ListTypeExpressionAST<int>;
    using Digits = TransformHexExpressionAST;
    const std::string digits = "3f800000" + std::string(112, '0');
    const std::string transform = "xform(1 0 0, 0 0 0, 0 0 0, 0 0 0)";
    const std::string text = R"("text" in "a.scene")", vec = "vec(1 2 3)";
    const auto sample = [&](char letter) { return t.node(sampleOf(letter)); };
    const auto blend = [&](const Operand& from, const Operand& to) { return t.keys({{0, from}, {2, to}}); };
    const auto indexOf = [&](const char* index) { return element<Ints>(index, {0}); };
    auto* unowned = t.program.make<Text>();
    unowned->text = "unowned";
    unowned->length = 2;
    const char* const lamp = "the lamp behind the curtain";
    t.program.addObject(lamp)->addProperty("power", t.node(2.0));
    const auto ofLamp = [&](const char* property) { return t.reference(lamp, property); };
    // clang-format off
    rows = {
        {"number",             sample('N'),                                         "2.5"},
        {"negation",           t.negated(element<Vectors>("4 5 6", {0})),           "vec(-4 -5 -6)"},
        {"vector",             sample('V'),                                         shown(sampleOf('V'))},
        {"matrix",             sample('M'),                                         shown(sampleOf('M'))},
        {"color with alpha",   sample('A'),                                         shown(sampleOf('A'))},
        {"transform",          sample('T'),                                         shown(sampleOf('T'))},
        {"object",             sample('o'),                                         "@rig"},
        {"identifier",         sample('d'),                                         "id(77)"},
        {"runtime value",      sample('r'),                                         R"(@rig."power")"},
        {"function",           t.call(Builtin::Pow, {t.call(Builtin::Time), 2.0}),  "1"},
        {"reference",          ofLamp("power"),                                     "2"},
        {"text",               sample('s'),                                         text},
        {"texts",              sample('S'),                                         R"(string["one", "two"] in "b.scene")"},
        {"text of nobody",     unowned,                                             R"("un")"},
        {"unread text",        unread<Text>("lamp", "c.scene"),                     R"("lamp" in "c.scene")"},
        {"unread texts",       unread<Texts>("'a', 'b'", "c.scene"),                R"(string["a", "b"] in "c.scene")"},
        {"unread vectors",     unread<Vectors>("1 2 3, 4 5 6"),                     "vec[1 2 3, 4 5 6]"},
        {"unread colors",      unread<Colors>("1 2 3, 4 5 6"),                      "rgb[1 2 3, 4 5 6]"},
        {"unread floats",      unread<Floats>("1 2.5"),                             "float[1 2.5]"},
        {"unread ints",        unread<Ints>("1 // 2"),                              "int[1]"},
        {"unread transform",   unread<Digits>(digits),                              transform},
        {"unreadable",         unread<Ints>("1 x"),                                 "fails: Expected an integer at byte 5 of the source."},
        {"element of texts",   element<Texts>("'a', 'b'", {1}),                     R"("b" in "c.scene")"},
        {"of vectors",         element<Vectors>("1 2 3", {0, 2}),                   "3"},
        {"of colors",          element<Colors>("1 2 3", {0, 2}),                    "3"},
        {"of floats",          element<Floats>("1 2.5", {1}),                       "2.5"},
        {"of ints by ints",    element<Ints>("1 2", {indexOf("1 0")}),              "2"},
        {"of none",            element<Ints>("1 2", {2}),                           "fails: Array index is out of range."},
        {"list",               t.list({1.0, sample('s'), t.list({sample('s')})}),   "[1, " + text + ", [" + text + "]]"},
        {"lists joined",       t.sum(sample('L'), t.list({2.0})),                   "[1, rgb(1 0 0), 2]", {"[1, rgb(1 0 0)]"}},
        {"list and text",      t.sum(t.list({}), sample('s')),                      "[" + text + "]", {"[]"}},
        {"vectors joined",     t.sum(sample('v'), sample('v')),                     "vec[1 2 3, 4 5 6, 1 2 3, 4 5 6]"},
        {"colors joined",      t.sum(sample('c'), unread<Colors>("1 2 3")),         "rgb[1 0 0, 1 2 3]", {"rgb[1 0 0]"}},
        {"floats joined",      t.sum(sample('f'), unread<Floats>("1")),             "float[0.5 0.25 1]", {"float[0.5 0.25]"}},
        {"ints joined",        t.sum(sample('i'), unread<Ints>("1")),               "int[1 -2 1]", {"int[1 -2]"}},
        {"not to be added",    t.sum(1.0, sample('s')),                             "fails: Unable to sum.", {"1"}},
        {"blended vectors",    blend(sample('v'), unread<Vectors>("3 2 1, 6 5 4")), "vec[2 2 2, 5 5 5]"},
        {"blended transforms", blend(unread<Digits>(digits), unread<Digits>(digits)), transform},
        {"held text",          blend(sample('s'), 5.0),                             text},
        {"unresolved times",   t.keys({{indexOf("0 2"), sample('s')}, {indexOf("2 0"), 1.0}}), text},
        {"sorted keys",        t.keys({{3, 30}, {ofLamp("power"), 20}, {0, 10}}),   "15"},
        {"missing property",   ofLamp("brightness"),                                std::string("fails: Could not find brightness property of object ") + lamp},
        {"deep stack",         wrapped(t.vec(1, 2, 3), [&](auto* node) { return t.product(1.0, node); }), vec, {"1"}},
        {"deep held values",   wrapped(t.vec(1, 2, 3), [&](auto* node) { return blend(t.vec(1, 2, 3), node); }), vec, {vec}},
    };
    // clang-format on
}

void Evaluations::resolve(const Evaluation& row)
{
    DecorationVisitor pass;
    pass.setProgram(&t.program);
    pass.setParser(&parser);
    row.expression->accept(&pass);
}

bool Evaluations::areAtRest()
{
    if (pthread_mutex_trylock(&owner.sourceMutex) != 0)
        return false;
    pthread_mutex_unlock(&owner.sourceMutex);
    return std::ranges::all_of(sources,
                               [](const Source& s) { return s.stream.position == 1 && s.stream.outOfTurn == 0; });
}

int Evaluations::reads() const
{
    int all = 0;
    for (const Source& source : sources)
        all += source.stream.reads();
    return all;
}

} // namespace Marl::Tests
