// Sessions with the tool, each in a folder of its own. A transcript is made of
//
//   # ...             remarks
//   --- lamp.scene    files, of the lines that follow
//   $ marl eval ...   commands for the shell, each above all that it prints: standard output, then standard
//                     error with "! " before every line, then the status as "[exit 2]" where it is not 0
//
// Blank lines at the end of a file or of what is printed are there for the reader alone. In a document
//
//   a block that opens with "// lamp.scene"    is that file
//   a console block                            is a session beside it, errors among the output
//   a block under <!-- all of FILE -->         is that file of the project
//   a block under <!-- from FILE -->           is some consecutive lines of it
//   a link to a file                           leads somewhere
#include <tests/host/scratch.h>

#include <gmock/gmock.h>

#include <fstream>
#include <regex>
#include <sstream>
#include <utility>

namespace Marl::Host {

namespace {

using ::testing::HasSubstr;

struct Block {
    std::string opening; // --- or $, and what follows in its line
    int line;
    std::string text;
};

std::vector<Block> blocksOf(std::istream& session)
{
    std::vector<Block> blocks;
    std::string text;
    for (int line = 1; std::getline(session, text); ++line) {
        if (text.starts_with("# "))
            continue;
        if (text.starts_with("--- ") || text.starts_with("$ "))
            blocks.push_back({text, line, ""});
        else if (!blocks.empty())
            blocks.back().text += text + '\n';
        else
            EXPECT_EQ(text, "") << "stands before the first block";
    }
    for (Block& block : blocks)
        while (block.text == "\n" || block.text.ends_with("\n\n"))
            block.text.pop_back();
    return blocks;
}

std::string shown(const ToolRun& run)
{
    return run.out + std::regex_replace(run.err, std::regex("[^\n]*\n"), "! $&")
        + (run.status == 0 ? "" : "[exit " + std::to_string(run.status) + "]\n");
}

// Says how many commands there were.
int runTranscript(const std::string& transcript)
{
    const ScratchFolder files;
    int commands = 0;
    std::ifstream session(transcript);
    for (const Block& block : blocksOf(session)) {
        const testing::ScopedTrace place(transcript.c_str(), block.line, block.opening);
        if (block.opening[0] == '$') {
            EXPECT_EQ(shown(runShell(block.opening.substr(2), files.folder)), block.text);
            ++commands;
        } else {
            files.write(block.opening.substr(4), block.text);
        }
    }
    return commands;
}

TEST(Transcripts, ShowWhatTheToolPrints)
{
    int transcripts = 0;
    for (const auto& entry : std::filesystem::directory_iterator(MARL_SOURCE_DIR "/tests/host/transcripts")) {
        EXPECT_GT(runTranscript(entry.path()), 0) << entry.path() << " has no command";
        ++transcripts;
    }
    EXPECT_GT(transcripts, 0);
}

std::string withoutIndent(const std::string& text)
{
    return '\n' + std::regex_replace(text, std::regex("(^|\n) +"), "$1");
}

void checkBlock(const ScratchFolder& files, const std::string& mark, const std::string& language,
                const std::string& text)
{
    std::smatch name;
    if (std::regex_match(mark, name, std::regex("<!-- all of (.*) -->"))) {
        EXPECT_EQ(text, contentOf(MARL_SOURCE_DIR "/" + name.str(1)));
    } else if (std::regex_match(mark, name, std::regex("<!-- from (.*) -->"))) {
        EXPECT_THAT(withoutIndent(contentOf(MARL_SOURCE_DIR "/" + name.str(1))), HasSubstr(withoutIndent(text)));
    } else if (std::regex_search(text, name, std::regex("^// ([a-z_]+\\.scene)\n"))) {
        files.write(name[1], text);
    } else if (language == "console") {
        std::istringstream session(text);
        for (const Block& block : blocksOf(session))
            EXPECT_EQ(runShell("exec 2>&1\n" + block.opening.substr(2), files.folder).out, block.text);
    }
}

void checkLinks(const std::filesystem::path& folder, const std::string& line)
{
    static const std::regex link(R"(\]\(([^):#]+)(#[^)]*)?\))");
    for (auto at = std::sregex_iterator(line.begin(), line.end(), link); at != std::sregex_iterator(); ++at)
        EXPECT_TRUE(std::filesystem::exists(folder / at->str(1))) << at->str();
}

void checkDocument(const std::filesystem::path& document)
{
    const ScratchFolder files;
    std::ifstream file(document);
    std::string line, mark, language, text;
    bool isInside = false;
    for (int number = 1; std::getline(file, line); ++number) {
        const testing::ScopedTrace place(document.c_str(), number, "up to here");
        if (line.starts_with("```")) {
            if (isInside)
                checkBlock(files, std::exchange(mark, ""), language, std::exchange(text, ""));
            language = line.substr(3);
            isInside = !isInside;
        } else if (isInside) {
            text += line + '\n';
        } else {
            if (line.starts_with("<!--"))
                mark = line;
            checkLinks(document.parent_path(), line);
        }
    }
    EXPECT_FALSE(isInside) << document << " ends inside a block";
}

TEST(Documents, ShowWhatIsTrue)
{
    int documents = 0;
    for (const char* folder : {MARL_SOURCE_DIR, MARL_SOURCE_DIR "/docs"})
        for (const auto& entry : std::filesystem::directory_iterator(folder))
            if (entry.path().extension() == ".md") {
                checkDocument(entry.path());
                ++documents;
            }
    EXPECT_GT(documents, 0);
}

} // namespace

} // namespace Marl::Host
