// marl eval: values, failures with their places, formats, and what bad input leads to.
#include <tests/host/scratch.h>

#include <host/commands/times.h>
#include <host/output/json_text.h>
#include <host/output/value_text.h>

#include <gmock/gmock.h>
#include <nlohmann/json.hpp>

#include <bit>
#include <charconv>
#include <cmath>

#include <sys/stat.h>

namespace Marl::Host {

namespace {

using ::testing::HasSubstr;

const std::filesystem::path exampleScenes = std::filesystem::path(MARL_SOURCE_DIR) / "examples/scenes";

const std::vector<std::string> road = {"eval", "road.scene", "--from", "0", "--to", "10", "--step", "5"};

std::vector<std::string> with(std::vector<std::string> words, const std::vector<std::string>& more)
{
    words.insert(words.end(), more.begin(), more.end());
    return words;
}

TEST(Eval, ShowsTheRoad)
{
    const struct {
        std::vector<std::string> more;
        const char* out;
    } rows[] = {
        {{}, "time  a.p  b.q\n   0    3  1.5\n   5    4  1.5\n  10    5  1.5\n"},
        {{"b.q", "a.*"}, "time  b.q  a.p\n   0  1.5    3\n   5  1.5    4\n  10  1.5    5\n"},
        {{"a.p", "--hold"}, "time  a.p\n   0    3\n   5    3\n  10    5\n"},
        {{"--format", "csv"}, "time,a.p,b.q\n0,3,1.5\n5,4,1.5\n10,5,1.5\n"},
        {{"a.p", "--format", "json"},
         "[\n  {\"property\": \"a.p\", \"type\": \"Double\", \"samples\": [[0, 3], [5, 4], [10, 5]]}\n]\n"},
    };
    for (const auto& row : rows) {
        const ToolRun run = runMarl(with(road, row.more), exampleScenes);
        EXPECT_EQ(run.out, row.out);
        EXPECT_EQ(run.err, "");
        EXPECT_EQ(run.status, 0);
    }
}

TEST(Eval, GivesEveryKindItsColumnsAndItsJson)
{
    const struct {
        const char* expression;
        const char* csv;
        const char* type;
        const char* json;
    } rows[] = {
        {"0.1", "o.p\n0.1\n", "Double", "0.1"},
        {"-0", "o.p\n-0\n", "Double", "-0.0"},
        {"[nan, inf, -inf]", "o.p\n\"[nan, inf, -inf]\"\n", "List", R"(["nan", "inf", "-inf"])"},
        {"vec(1, 2.5, 1e30)", "o.p.x,o.p.y,o.p.z\n1,2.5,1e+30\n", "Vector", "[1, 2.5, 1e+30]"},
        {"rgb(0.1, nan, 3)", "o.p.r,o.p.g,o.p.b\n0.1,nan,3\n", "Color", R"([0.1, "nan", 3])"},
        {"rgba(1, 0, 0, 0.5)", "o.p.r,o.p.g,o.p.b,o.p.a\n1,0,0,0.5\n", "AColor", "[1, 0, 0, 0.5]"},
        {"mat(vec(1,2,3), vec(4,5,6), vec(7,8,9))",
         "o.p.0.x,o.p.0.y,o.p.0.z,o.p.1.x,o.p.1.y,o.p.1.z,o.p.2.x,o.p.2.y,o.p.2.z\n1,2,3,4,5,6,7,8,9\n", "Matrix",
         "[[1, 2, 3], [4, 5, 6], [7, 8, 9]]"},
        {"xform(mat(vec(1,0,0), vec(0,1,0), vec(0,0,1)), vec(0.1, 2, 3))",
         "o.p.matrix.0.x,o.p.matrix.0.y,o.p.matrix.0.z,o.p.matrix.1.x,o.p.matrix.1.y,o.p.matrix.1.z,"
         "o.p.matrix.2.x,o.p.matrix.2.y,o.p.matrix.2.z,o.p.offset.x,o.p.offset.y,o.p.offset.z\n"
         "1,0,0,0,1,0,0,0,1,0.1,2,3\n",
         "Transform", "[[[1, 0, 0], [0, 1, 0], [0, 0, 1]], [0.1, 2, 3]]"},
        {"[1, [2], 'x']", "o.p\n\"[1, [2], \"\"x\"\"]\"\n", "List", R"([1, [2], "x"])"},
        {"vec[0 0.1 0, 1 2 3]", "o.p\n\"vec[0 0.1 0, 1 2 3]\"\n", "ListVector", "[[0, 0.1, 0], [1, 2, 3]]"},
        {"int[1 -2]", "o.p\nint[1 -2]\n", "ListInt", "[1, -2]"},
        {"rgb[1 0 0]", "o.p\nrgb[1 0 0]\n", "ListColor", "[[1, 0, 0]]"},
        {"float[0.1 inf]", "o.p\nfloat[0.1 inf]\n", "ListFloat", R"([0.1, "inf"])"},
        {"'say \"a, b\"'", "o.p\n\"say \"\"a, b\"\"\"\n", "String", R"("say \"a, b\"")"},
        {"\"\"\"two\nlines\"\"\"", "o.p\n\"two\nlines\"\n", "String", R"("two\nlines")"},
        {"string['a', \"b'\"]", "o.p\n\"string[\"\"a\"\", \"\"b'\"\"]\"\n", "ListString", R"(["a", "b'"])"},
        {"@lamp", "o.p\n@lamp\n", "Object", R"("@lamp")"},
        {"@lamp.`is on`", "o.p\n@lamp.`is on`\n", "RuntimeValue", "\"@lamp.`is on`\""},
        {"id(0x00ff)", "o.p\nid(0xff)\n", "ObjectID", "\"id(0xff)\""},
    };
    for (const auto& row : rows) {
        const ScratchFolder files;
        files.write("s.scene", inObject(std::string("p = ") + row.expression + ";"));
        std::string csv = row.csv;
        csv.insert(csv.find('\n') + 1, "0,");
        EXPECT_EQ(runMarl({"eval", "s.scene", "--format", "csv"}, files.folder).out, "time," + csv);
        EXPECT_EQ(runMarl({"eval", "s.scene", "--format", "json"}, files.folder).out,
                  std::string("[\n  {\"property\": \"o.p\", \"type\": \"") + row.type + "\", \"samples\": [[0, "
                      + row.json + "]]}\n]\n");
    }
}

// A kind that changes has the columns of both; what fails at some time is left empty there.
TEST(Eval, KeepsKindsThatChangeApart)
{
    const ScratchFolder files;
    files.write("s.scene", inObject("p = keys(0: 1, 1: vec(1, 2, 3)); q = 5;"));
    const std::vector<std::string> range = {"eval", "s.scene", "--from", "0",       "--to",
                                            "1",    "--step",  "0.5",    "--format"};
    const ToolRun csv = runMarl(with(range, {"csv"}), files.folder);
    EXPECT_EQ(csv.out, "time,o.p,o.p.x,o.p.y,o.p.z,o.q\n0,1,,,,5\n0.5,,,,,5\n1,,1,2,3,5\n");
    EXPECT_EQ(csv.status, 1);
    const ToolRun json = runMarl(with(range, {"json"}), files.folder);
    EXPECT_THAT(json.out,
                HasSubstr(R"("type": "Double", "samples": [[0, 1], [0.5, null], [1, [1, 2, 3], "Vector"]]})"));
}

std::uint64_t nextRandom(std::uint64_t& state)
{
    state ^= state << 13;
    state ^= state >> 7;
    return state ^= state << 17;
}

TEST(Eval, WritesNumbersThatReadBackToTheSameBits)
{
    std::vector<double> doubles = {
        0.0, -0.0, 0.1, 1e22, 9007199254740993.0, 5e-324, 1.7976931348623157e308, 123456789012345680.0};
    std::vector<float> floats = {0.1f, -0.0f, 16777217.0f, 1e-45f, 3.4028235e38f, 8.5899346e9f};
    std::uint64_t state = 88172645463325252;
    for (int i = 0; i < 20'000; ++i) {
        const std::uint64_t bits = nextRandom(state);
        if (std::isfinite(std::bit_cast<double>(bits)))
            doubles.push_back(std::bit_cast<double>(bits));
        if (std::isfinite(std::bit_cast<float>(static_cast<std::uint32_t>(bits))))
            floats.push_back(std::bit_cast<float>(static_cast<std::uint32_t>(bits)));
    }
    for (const double number : doubles) {
        EXPECT_EQ(std::bit_cast<std::uint64_t>(std::strtod(numberText(number).c_str(), nullptr)),
                  std::bit_cast<std::uint64_t>(number));
        EXPECT_EQ(std::bit_cast<std::uint64_t>(nlohmann::json::parse(jsonNumber(number)).get<double>()),
                  std::bit_cast<std::uint64_t>(number));
    }
    for (const float number : floats) {
        const auto narrowed = static_cast<float>(std::strtod(numberText(number).c_str(), nullptr));
        EXPECT_EQ(std::bit_cast<std::uint32_t>(narrowed), std::bit_cast<std::uint32_t>(number)) << numberText(number);
    }
}

// The library's message as it is; then the kinds that met, the property and the time.
TEST(Eval, SaysWhereAnEvaluationFails)
{
    const std::string before =
        "scene 1;\nobject o {\n    m = mat(vec(1,0,0), vec(0,1,0), vec(0,0,1));\n    list = [1, 2];\n    p = ";
    const struct {
        const char* expression;
        const char* message;
    } rows[] = {
        {"2 + (.m * vec(1, 2, 3)) * 2",
         "5:14: error: Unable to multiply. The left side is a Matrix, the right side a Vector. (o.p at time 5)\n"},
        {"keys(0: 1, 10: rgb(1, 1, 1))",
         "5:9: error: Unable to sum. The earlier key is a Double, the later a Color. (o.p at time 5)\n"},
        {"1 + .list[0, 7 - 4]", "5:13: error: Expression cannot be indexed. (o.p at time 5)\n"},
        {"-.list[2] * 2", "5:10: error: Array index is out of range. (o.p at time 5)\n"},
        {"3 + other.deep",
         "8:23: error: Unable to divide. The left side is a Double, the right side a Vector. (o.p at time 5)\n"},
        {"float[1 2 x]", "5:19: error: Expected a number at byte 106 of the source. (o.p at time 5)\n"},
        {"other.data[0]", "9:22: error: Expected an integer at byte 190 of the source. (o.p at time 5)\n"},
        {"xformhex(00)", "5:20: error: Expected 120 hexadecimal digits at byte 107 of the source. (o.p at time 5)\n"},
    };
    for (const auto& row : rows) {
        const ScratchFolder files;
        files.write(
            "s.scene",
            before + row.expression
                + ";\n}\nobject other {\n    deep = sqrt(4) * (2 / vec(1, 2, 3));\n    data = int[1 2 3 4.5];\n}\n");
        const ToolRun run = runMarl({"eval", "s.scene", "o.p", "o.list", "--time", "5"}, files.folder);
        EXPECT_THAT(run.err, HasSubstr(std::string("s.scene:") + row.message)) << row.expression;
        EXPECT_THAT(run.out, HasSubstr("[1, 2]")) << "the others are still shown";
        EXPECT_EQ(run.status, 1);
    }
}

TEST(Eval, EvaluatesWhatDoesNotDependOnAMistake)
{
    const ScratchFolder files;
    files.write("s.scene", inObject("bad = .gone + .away; needs = .bad * 2; good = 3; loop = .loop;"));
    const ToolRun run = runMarl({"eval", "s.scene", "--format", "csv"}, files.folder);
    EXPECT_EQ(run.out, "time,o.bad,o.needs,o.good,o.loop\n0,,,3,\n");
    for (const char* message :
         {"Could not find gone property", "Could not find away property", "form a cycle: o.loop"})
        EXPECT_THAT(run.err, HasSubstr(message));
    EXPECT_THAT(run.err, ::testing::Not(HasSubstr("not bound")));
    EXPECT_EQ(run.status, 1);
}

// A time behind a key may be a property that is bound after the keys were first walked.
TEST(Eval, SortsKeysWhoseTimesAreReferences)
{
    const ScratchFolder files;
    files.write("s.scene", inObject("p = keys(.late: 2, 0: 1); late = .later * 2; later = 5;"));
    EXPECT_EQ(runMarl({"eval", "s.scene", "o.p", "--time", "5", "--format", "csv"}, files.folder).out,
              "time,o.p\n5,1.5\n");
}

TEST(Eval, TellsBadInputApart)
{
    const ScratchFolder files;
    std::filesystem::create_directory(files.path("folder"));
    files.write("empty.scene", "");
    files.write("binary.scene",
                std::string("\x7f"
                            "ELF\0\1\2\xff",
                            8));
    files.write("syntax.scene", "scene 1; object a { p = 1 +; }");
    files.write("good.scene", "scene 1; object lamp { power = 40; } object `my lamp` { on = 1; }");
    mkfifo(files.path("pipe").c_str(), 0600);

    const struct {
        std::vector<std::string> arguments;
        int status;
        const char* message;
    } rows[] = {
        {{"eval", "missing.scene"}, 3, "marl: missing.scene: No such file or directory\n"},
        {{"eval", "folder"}, 3, "marl: folder: Is a directory\n"},
        {{"eval", "pipe"}, 3, "marl: pipe: Is no regular file; a scene cannot come from a pipe or device\n"},
        {{"eval", "good.scene", "-o", "nowhere/out"}, 3, "nowhere/out: No such file or directory\n"},
        {{"eval", "empty.scene"}, 1, "empty.scene:1:1: error: there is no scene here"},
        {{"eval", "binary.scene"}, 1, "binary.scene:1:1: error: this is no scene"},
        {{"eval", "syntax.scene"}, 1, "syntax.scene:1:28: error: a value is missing after the operator"},
        {{"eval", "good.scene", "lmap.power"}, 2, "good.scene has no object lmap. Did you mean `lamp`?"},
        {{"eval", "good.scene", "lamp.powr"}, 2, "good.scene has no property lamp.powr. Did you mean `power`?"},
        {{"eval", "good.scene", "lamp"}, 2, "`lamp` names no property; write object.property"},
        {{"eval", "good.scene", "lamp.power.x"}, 2, "`lamp.power.x` names no property"},
        {{"eval", "good.scene", "--time", "nan"}, 2, "marl: --time: nan is no time\n"},
        {{"eval", "good.scene", "--time", "1,5"}, 2, "marl: --time: `1,5` is not a number\n"},
        {{"eval", "good.scene", "--from", "0", "--to", "1"}, 2, "marl: --from, --to and --step belong together\n"},
        {{"eval", "good.scene", "--from", "0", "--to", "1", "--step", "0"}, 2, "marl: --step: 0 leads nowhere\n"},
        {{"eval", "good.scene", "--from", "0", "--to", "1", "--step", "-1"},
         2,
         "marl: --step: -1 does not lead from 0 to 1\n"},
        {{"eval", "good.scene", "--from", "0", "--to", "inf", "--step", "1"},
         2,
         "marl: --to: a range has no end at inf\n"},
        {{"eval", "good.scene", "--from", "0", "--to", "1e6", "--step", "1e-3"},
         2,
         "these would be 1000000001 times"},
        {{"eval", "good.scene", "--time", "1", "--from", "0", "--to", "1", "--step", "1"}, 2, "only one of them"},
        {{"eval", "good.scene", "--format", "xml"}, 2, "--format"},
        {{"eval"}, 2, "FILE is required"},
        {{"paint", "good.scene"}, 2, "no command `paint`. `marl --help`"},
        {{}, 2, "marl: what is to be done?"},
    };
    for (const auto& row : rows) {
        const ToolRun run = runMarl(row.arguments, files.folder);
        EXPECT_EQ(run.status, row.status) << row.message;
        EXPECT_THAT(run.err, HasSubstr(row.message));
        EXPECT_EQ(run.out, "") << row.message;
    }
    EXPECT_EQ(runMarl({"eval", "good.scene", "`my lamp`.`on`", "--time", "-.5", "--format", "csv"}, files.folder).out,
              "time,`my lamp`.on\n-0.5,1\n");
    EXPECT_EQ(runMarl({"eval", "good.scene"}, files.folder, "/dev/full").status, 3);
}

TEST(Eval, ReplacesAFileOnlyByAWholeOne)
{
    const ScratchFolder files;
    files.write("good.scene", inObject("p = 1;"));
    files.write("bad.scene", inObject("p = 1 + ;"));
    const std::string out = files.write("out.csv", "old");
    chmod(out.c_str(), 0640);

    EXPECT_EQ(runMarl({"eval", "bad.scene", "-o", "out.csv"}, files.folder).status, 1);
    EXPECT_EQ(contentOf(out), "old");
    EXPECT_EQ(runMarl({"eval", "good.scene", "o.x", "-o", "out.csv"}, files.folder).status, 2);
    EXPECT_EQ(contentOf(out), "old");

    std::filesystem::create_symlink("out.csv", files.path("link.csv"));
    EXPECT_EQ(runMarl({"eval", "good.scene", "--format", "csv", "-o", "link.csv"}, files.folder).status, 0);
    EXPECT_EQ(contentOf(out), "time,o.p\n0,1\n");
    EXPECT_TRUE(std::filesystem::is_symlink(files.path("link.csv")));
    EXPECT_EQ(std::filesystem::status(out).permissions(), std::filesystem::perms(0640));
    EXPECT_EQ(runMarl({"eval", "good.scene", "-o", "/dev/null"}, files.folder).status, 0);
    EXPECT_EQ(std::distance(std::filesystem::directory_iterator(files.folder), {}), 4) << "nothing is left over";
}

TEST(Eval, CountsTimesWithoutAddingUpErrors)
{
    const struct {
        const char* from;
        const char* to;
        const char* step;
        std::size_t count;
        double last;
    } rows[] = {
        {"0", "10", "5", 3, 10},
        {"0", "9", "5", 2, 5},
        {"0", "0.3", "0.1", 4, 3 * 0.1},
        {"0", "1", "0.1", 11, 1},
        {"1", "0", "-0.25", 5, 0},
        {"2", "2", "1", 1, 2},
        {"-1", "1", "0.1", 21, -1 + 20 * 0.1},
        {"1e9", "1000000000.3", "0.1", 4, 1e9 + 3 * 0.1},
        {"0", "1e-300", "1e-301", 11, 10 * 1e-301},
    };
    for (const auto& row : rows) {
        const Times times = parseTimes({"", row.from, row.to, row.step});
        EXPECT_EQ(times.count, row.count) << row.from << " " << row.to << " " << row.step;
        EXPECT_EQ(times[times.count - 1], row.last);
    }
}

// The lists of this scene are 8 MB of text, of which nobody asks for one.
TEST(Eval, ReadsOnlyTheDataThatIsAskedFor)
{
    const ScratchFolder files;
    std::string text = "scene 1;\nobject o {\n    p = 1;\n    short = float[1 2 3];\n    long = vec[";
    while (text.size() < 8'000'000)
        text += "0.25 1.5 -3, ";
    files.write("big.scene", text + "];\n}\n");
    files.write("small.scene", inObject("p = 1; short = float[1 2 3];"));

    const std::vector<std::string> asked = {"o.p", "o.short"};
    const ToolRun small = runMarl(with({"eval", "small.scene"}, asked), files.folder);
    const ToolRun big = runMarl(with({"eval", "big.scene"}, asked), files.folder);
    EXPECT_EQ(big.out, small.out);
    EXPECT_EQ(big.status, 0);
    EXPECT_LT(big.peakKilobytes, small.peakKilobytes + 3000);
}

TEST(Eval, ShowsHelpAndVersion)
{
    EXPECT_EQ(runMarl({"--version"}, exampleScenes).status, 0);
    for (const std::vector<std::string>& arguments :
         {std::vector<std::string>{"--help"}, {"eval", "--help"}, {"check", "--help"}}) {
        const ToolRun run = runMarl(arguments, exampleScenes);
        EXPECT_EQ(run.status, 0);
        EXPECT_THAT(run.out, HasSubstr("Examples:\n  marl "));
    }
}

} // namespace

} // namespace Marl::Host
