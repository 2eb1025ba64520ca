#include <tests/host/scratch.h>

#include <cstdlib>
#include <fstream>
#include <sstream>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace Marl::Host {

namespace {

std::filesystem::path newFolder()
{
    std::string name = (std::filesystem::temp_directory_path() / "marl-host-XXXXXX").string();
    if (!mkdtemp(name.data()))
        std::abort();
    return name;
}

} // namespace

ScratchFolder::ScratchFolder() : folder(newFolder()) {}

ScratchFolder::~ScratchFolder()
{
    std::filesystem::remove_all(folder);
}

std::string ScratchFolder::write(const std::string& name, std::string_view text) const
{
    std::ofstream(folder / name, std::ios::binary) << text;
    return path(name);
}

std::string contentOf(const std::string& path)
{
    std::stringstream content;
    content << std::ifstream(path, std::ios::binary).rdbuf();
    return content.str();
}

std::string inObject(std::string_view statements)
{
    return "scene 1; object o { " + std::string(statements) + " }";
}

ToolRun runMarl(const std::vector<std::string>& arguments, const std::filesystem::path& folder,
                const std::string& out)
{
    const ScratchFolder scratch;
    const std::string outFile = out.empty() ? scratch.path("out") : out, errFile = scratch.path("err");
    const pid_t child = fork();
    if (child == 0) {
        std::vector<char*> words = {const_cast<char*>("marl")};
        for (const std::string& argument : arguments)
            words.push_back(const_cast<char*>(argument.c_str()));
        words.push_back(nullptr);
        dup2(open(outFile.c_str(), O_WRONLY | O_CREAT, 0600), 1);
        dup2(open(errFile.c_str(), O_WRONLY | O_CREAT, 0600), 2);
        if (chdir(folder.c_str()) == 0)
            execv(MARL_TOOL, words.data());
        _exit(127);
    }
    int status = 0;
    rusage usage = {};
    wait4(child, &status, 0, &usage);

    ToolRun run;
    run.status = WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status);
    run.out = out.empty() ? contentOf(outFile) : "";
    run.err = contentOf(errFile);
    run.peakKilobytes = usage.ru_maxrss;
    return run;
}

} // namespace Marl::Host
