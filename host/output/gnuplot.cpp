#include <host/output/gnuplot.h>

#include <host/report/utf8.h>
#include <host/scene/scene_file.h>

#include <fmt/format.h>

#include <array>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <stdexcept>

#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Marl::Host {

namespace {

// A file without a name, which is gone with it.
class ScratchFile {
public:
    ScratchFile() : file(std::tmpfile())
    {
        if (!file)
            fail();
    }
    ~ScratchFile() { std::fclose(file); }
    ScratchFile(const ScratchFile&) = delete;
    ScratchFile& operator=(const ScratchFile&) = delete;

    int descriptor() const { return fileno(file); }

    void write(std::string_view text)
    {
        if (std::fwrite(text.data(), 1, text.size(), file) != text.size() || std::fflush(file) != 0)
            fail();
        std::rewind(file);
    }

    std::string read()
    {
        std::rewind(file);
        std::string all;
        std::array<char, 1 << 16> block;
        while (const std::size_t got = std::fread(block.data(), 1, block.size(), file))
            all.append(block.data(), got);
        if (std::ferror(file))
            fail();
        return all;
    }

private:
    [[noreturn]] static void fail() { throw FileError(fmt::format("temporary file: {}", std::strerror(errno))); }

    std::FILE* file;
};

// Returns the status of waitpid(). Nothing goes through pipes, so neither side waits for the other.
int run(const ScratchFile& input, const ScratchFile& output, const ScratchFile& complaints)
{
    posix_spawn_file_actions_t streams;
    posix_spawn_file_actions_init(&streams);
    posix_spawn_file_actions_adddup2(&streams, input.descriptor(), 0);
    posix_spawn_file_actions_adddup2(&streams, output.descriptor(), 1);
    posix_spawn_file_actions_adddup2(&streams, complaints.descriptor(), 2);
    // Without the settings of the user, and from standard input.
    std::string words[] = {"gnuplot", "-d", "-"};
    char* arguments[] = {words[0].data(), words[1].data(), words[2].data(), nullptr};
    pid_t child = 0;
    const int failure = posix_spawnp(&child, "gnuplot", &streams, nullptr, arguments, environ);
    posix_spawn_file_actions_destroy(&streams);
    if (failure == ENOENT)
        throw std::runtime_error(
            "curves are drawn by gnuplot, which is not installed; on Debian `apt-get install gnuplot-nox` "
            "installs it. `marl eval --format csv` shows the numbers without it");
    if (failure != 0)
        throw std::runtime_error(fmt::format("gnuplot cannot be started: {}", std::strerror(failure)));
    int status = 0;
    while (waitpid(child, &status, 0) < 0)
        if (errno != EINTR)
            throw std::runtime_error(fmt::format("gnuplot was lost: {}", std::strerror(errno)));
    return status;
}

// What it says last: before that it repeats the command.
std::string lastLine(std::string text)
{
    text.erase(text.find_last_not_of(" \n") + 1);
    text.erase(0, text.rfind('\n') + 1); // to the start where there is none
    return text.empty() ? "it does not say why" : printable(text);
}

} // namespace

std::string runGnuplot(const std::string& script)
{
    ScratchFile input, output, complaints;
    input.write(script);
    const int status = run(input, output, complaints);
    if (WIFSIGNALED(status))
        throw std::runtime_error(fmt::format("gnuplot was ended by signal {}", WTERMSIG(status)));
    if (WEXITSTATUS(status) != 0)
        throw std::runtime_error(fmt::format("gnuplot failed: {}", lastLine(complaints.read())));
    std::string picture = output.read();
    if (picture.empty())
        throw std::runtime_error(fmt::format("gnuplot drew nothing: {}", lastLine(complaints.read())));
    return picture;
}

} // namespace Marl::Host
