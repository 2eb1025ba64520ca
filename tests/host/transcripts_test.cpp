// Sessions with the tool, each in a folder of its own. A transcript is made of
//
//   # ...             remarks
//   --- lamp.scene    files, of the lines that follow
//   $ marl eval ...   commands for the shell, each above all that it prints: standard output, then standard
//                     error with "! " before every line, then the status as "[exit 2]" where it is not 0
//
// Blank lines at the end of a file or of what is printed are there for the reader alone.
#include <tests/host/scratch.h>

#include <gtest/gtest.h>

#include <fstream>
#include <regex>

namespace Marl::Host {

namespace {

struct Block {
    std::string opening; // --- or $, and what follows in its line
    int line;
    std::string text;
};

std::vector<Block> blocksOf(const std::string& transcript)
{
    std::vector<Block> blocks;
    std::ifstream file(transcript);
    std::string text;
    for (int line = 1; std::getline(file, text); ++line) {
        if (text.starts_with("# "))
            continue;
        if (text.starts_with("--- ") || text.starts_with("$ "))
            blocks.push_back({text, line, ""});
        else if (!blocks.empty())
            blocks.back().text += text + '\n';
        else if (!text.empty())
            ADD_FAILURE_AT(transcript.c_str(), line) << "stands before the first block";
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
    for (const Block& block : blocksOf(transcript)) {
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

} // namespace

} // namespace Marl::Host
