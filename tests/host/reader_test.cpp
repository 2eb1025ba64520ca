// What scene text means: values out of statements, and where things stand.
#include <tests/host/scratch.h>

#include <host/analysis/check.h>
#include <host/analysis/evaluation.h>
#include <host/output/value_text.h>
#include <host/scene/sample.h>

#include <gtest/gtest.h>

namespace Marl::Host {

namespace {

// The value of `o.p` at time 2, or what keeps it from having one.
std::string valueOfP(const std::string& sceneText)
{
    TextScene text(sceneText);
    const Resolution resolution = resolve(text.scene);
    const std::vector<Diagnostic> mistakes = mistakesOf(text.scene, resolution);
    if (!mistakes.empty())
        return "mistake: " + mistakes.front().text;
    const SceneProperty p = {text.scene.findObject("o"), text.scene.findProperty("o", "p")};
    try {
        return valueText(evaluate(p, {2, false}));
    } catch (const Exception& failure) {
        return failure.what();
    }
}

TEST(Reader, GivesEveryFormItsMeaning)
{
    const struct {
        const char* expression;
        const char* value;
    } rows[] = {
        // numbers
        {"12", "12"},
        {"1.25", "1.25"},
        {".5", "0.5"},
        {"1e3", "1000"},
        {"2.5E-1", "0.25"},
        {"1e-999", "0"},
        {"inf", "inf"},
        {"-inf", "-inf"},
        {"nan", "nan"},
        // operators bind as in arithmetic and from the left
        {"1 + 2 * 3", "7"},
        {"(1 + 2) * 3", "9"},
        {"8 - 4 - 2", "2"},
        {"8 / 4 / 2", "1"},
        {"8 / 4 * 2", "4"},
        {"2 - -3", "5"},
        {"--3", "3"},
        {"-2 * 3", "-6"},
        {"2 * -3", "-6"},
        {"- (1 + 2)", "-3"},
        {"1-1", "0"},
        // constants and functions
        {"time", "2"},
        {"pi", "3.1415927410125732"},
        {"sqr(3)", "9"},
        {"sqrt(16)", "4"},
        {"sin(0)", "0"},
        {"cos(0)", "1"},
        {"length(vec(2, 3, 6))", "7"},
        {"noise(vec(1, 2, 3))", "0.21450795233249664"},
        {"pow(2, 3)", "8"},
        {"cross(vec(1, 0, 0), vec(0, 1, 0))", "vec(0, 0, 1)"},
        {"uniform(5, 5)", "5"},
        // records
        {"vec(1, 2.5, -3)", "vec(1, 2.5, -3)"},
        {"rgb(0.1, 0.2, 0.3)", "rgb(0.1, 0.2, 0.3)"},
        {"rgba(1, 0, 0.5, 0.25)", "rgba(1, 0, 0.5, 0.25)"},
        {"mat(vec(1,2,3), vec(4,5,6), vec(7,8,9))", "mat(vec(1, 2, 3), vec(4, 5, 6), vec(7, 8, 9))"},
        {"xform(mat(vec(1,0,0), vec(0,1,0), vec(0,0,1)), vec(0.1, 0, 0)) * vec(1, 0, 0)", "vec(1.1, 0, 0)"},
        {"xformhex(3f800000 00000000 00000000 00000000 40000000 00000000 00000000 00000000 3f800000 "
         "3ff8000000000000\n0000000000000000 BFF0000000000000)",
         "xform(mat(vec(1, 0, 0), vec(0, 2, 0), vec(0, 0, 1)), vec(1.5, 0, -1))"},
        {"id(0xFFffffffFFFFFFFF)", "id(0xffffffffffffffff)"},
        // texts: no escapes, the bytes as they are
        {"\"a 'b' \\n\"", "\"a 'b' \\n\""},
        {"'a \"b\"'", "'a \"b\"'"},
        {"\"\"", "\"\""},
        {"\"\"\"a \"b\" 'c'\nd\"\"\"", "\"\"\"a \"b\" 'c'\nd\"\"\""},
        {"\"// no comment ; }\"", "\"// no comment ; }\""},
        // lists and data
        {"[]", "[]"},
        {"[1, [2, 3], ]", "[1, [2, 3]]"},
        {"vec[0 0 0, 1 0 2.5,]", "vec[0 0 0, 1 0 2.5]"},
        {"rgb[1 0.5 0]", "rgb[1 0.5 0]"},
        {"float[ 1\n2.5 ]", "float[1 2.5]"},
        {"int[-1 2]", "int[-1 2]"},
        {"string[\"a ] ;\", 'b']", "string[\"a ] ;\", \"b\"]"},
        {"int[1 /* ] */ 2 // ]\n 3]", "int[1 2 3]"},
        {"float[]", "float[]"},
        // indices, all behind one value in one expression
        {"[1, [2, 3]][1][0]", "2"},
        {"[1, [2, 3]][1, 1]", "3"},
        {"float[1 2 3][1]", "2"},
        {"vec[1 2 3][0][2]", "3"},
        {"([1, [2]][1])[0]", "Expression cannot be indexed."},
        {".q[1]", "20"},
        {"-.q[1] * 2", "-40"},
        // keys
        {"keys(0: 1, 4: 3)", "2"},
        {"keys(4: 3, 0: 1,)", "2"},
        {"keys()", "Interpolate expression has no keys."},
        {"keys(0: 1, .late: 3)", "2"},
        // names
        {".q[0]", "10"},
        {"o . q [0]", "10"},
        {"o.`q`[0]", "10"},
        {"`my object`.`1st.`", "7"},
        {"@lamp", "@lamp"},
        {"@lamp.power", "@lamp.power"},
        {"@`my lamp`.`on`", "@`my lamp`.on"},
        {"inform.x + timer.x", "3"}, // words only begin like those of the language
    };
    for (const auto& row : rows)
        EXPECT_EQ(valueOfP("scene 1;\nobject o { p = " + std::string(row.expression)
                           + "; q = [10, 20]; late = .later; later = 4; }\n"
                             "object `my object` { `1st.` = 7; } object inform { x = 1; } object timer { x = 2; }"),
                  row.value)
            << row.expression;
}

TEST(Reader, TakesBlanksAndCommentsBetweenAnyTwoWords)
{
    const char* texts[] = {
        "scene 1;object o{p=1+2;}",
        "\xEF\xBB\xBFscene 1;\r\nobject o\r\n{\r\n\tp = 1 + 2;\r\n}\r\n",
        "/**/scene/*;*/1// one\n;/* \" ' ` */object// {\no{p/*=*/=/*\n*/1//\n+2/**/;/***/}//",
    };
    for (const char* text : texts)
        EXPECT_EQ(valueOfP(text), "3") << text;
}

TEST(Reader, DrawsSamplesThatAnEditElsewhereKeeps)
{
    // Computed apart: FNV-1a over name, 0, name, 0, occurrence and seed, splitmix64's finalizer, 24 bits.
    const struct {
        const char* object;
        const char* property;
        std::uint32_t occurrence;
        float sample;
    } rows[] = {
        {"o", "p", 0, 0x1.e00c780000000p-3f}, {"o", "p", 1, 0x1.68244a0000000p-1f},
        {"o", "p", 2, 0x1.944f400000000p-2f}, {"lamp", "power", 0, 0x1.0169580000000p-2f},
        {"é", "", 7, 0x1.e5e9400000000p-4f},
    };
    for (const auto& row : rows)
        EXPECT_EQ(drawSample(row.object, row.property, row.occurrence, 0), row.sample) << row.object;

    const std::string sample = valueOfP(inObject("p = [sample, uniform(0, 1), sample];"));
    EXPECT_EQ(sample, "[0.23439878225326538, 0.7034018635749817, 0.3948335647583008]");
    EXPECT_EQ(valueOfP(inObject("other = sample; p = [sample, uniform(0, 1) + sqrt(0), sample]; more = sample;")),
              sample);
}

TEST(Reader, NotesWhereThingsStand)
{
    const std::string text =
        "scene 1;\nobject o {\n  p = (1 + .q) * -2;\n  `q r` = keys(0: [1][0], 2: 3);\n  q = vec[ 1 2 3 ];\n}\n";
    TextScene file(text);
    Scene& scene = file.scene;
    const auto textOfThing = [&](const void* thing) { return scene.file.textAt(scene.placeOf(thing)); };
    const auto expressionOf = [&](const char* name) { return scene.findProperty("o", name)->expression; };

    EXPECT_EQ(textOfThing(scene.findObject("o")), "o");
    EXPECT_EQ(textOfThing(scene.findProperty("o", "q r")), "`q r`");
    const auto* product = dynamic_cast<BinaryExpressionAST*>(expressionOf("p"));
    EXPECT_EQ(textOfThing(product), "(1 + .q) * -2");
    EXPECT_EQ(textOfThing(product->left), "1 + .q");
    EXPECT_EQ(textOfThing(product->right), "-2");
    const auto* keys = dynamic_cast<InterpolateExpressionAST*>(expressionOf("q r"));
    EXPECT_EQ(textOfThing(keys->firstKey), "0: [1][0]");
    EXPECT_EQ(textOfThing(keys->firstKey->value), "[1][0]");
    EXPECT_EQ(textOfThing(expressionOf("q")), "vec[ 1 2 3 ]");
}

// Only places of data are recorded; the bytes come from the file when they are asked for.
TEST(Reader, LeavesDataInTheFile)
{
    TextScene text(inObject("v = vec[1 2 3, 4 5 6]; s = 'text';"));
    const auto* list = dynamic_cast<ListTypeExpressionAST<Vector>*>(text.scene.findProperty("o", "v")->expression);
    EXPECT_EQ(list->loaded, 0);
    EXPECT_EQ(text.scene.file.textAt({list->sourceOffset, list->sourceOffset + list->length}), "1 2 3, 4 5 6");
    const auto* string = dynamic_cast<StringExpressionAST*>(text.scene.findProperty("o", "s")->expression);
    EXPECT_EQ(string->loaded, 0);
    EXPECT_EQ(string->owner, &text.scene.file.owner);
    EXPECT_STREQ(string->scenePath, text.scene.file.path().c_str());
}

TEST(Reader, EndsNestingAtAThousandLevels)
{
    const auto nested = [](const char* open, int levels, const char* inner, const char* close) {
        std::string before, behind;
        for (int i = 0; i < levels; ++i) {
            before += open;
            behind += close;
        }
        return inObject("p = " + before + inner + behind + "; list = [0, 1];");
    };
    const struct {
        const char* open;
        const char* inner;
        const char* close;
        const char* value;
    } rows[] = {
        {"(", "3", ")", "3"},        {"-", "3", "", "3"},     {"sqr(", "1", ")", "1"},
        {"keys(0: ", "3", ")", "3"}, {"[", "3", "][0]", "3"}, {".list[", "1", "]", "1"},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(valueOfP(nested(row.open, 1000, row.inner, row.close)), row.value) << row.open;
        EXPECT_EQ(valueOfP(nested(row.open, 1001, row.inner, row.close)),
                  "mistake: values are nested more than 1000 deep here");
    }
    EXPECT_EQ(valueOfP(nested("(", 3'000'000, "3", ")")), "mistake: values are nested more than 1000 deep here");
    EXPECT_EQ(valueOfP(nested("1 + ", 9'000, "1", "")), "9001"); // a long sum is not nested
}

} // namespace

} // namespace Marl::Host
