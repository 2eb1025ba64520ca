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

// The tool lies in PATH.
ToolRun run(std::vector<std::string> words, const std::filesystem::path& folder,
            const std::function<void(pid_t)>& meanwhile)
{
    const ScratchFolder scratch;
    const std::string outFile = scratch.path("out"), errFile = scratch.path("err");
    std::vector<char*> pointers;
    for (std::string& word : words)
        pointers.push_back(word.data());
    pointers.push_back(nullptr);
    const std::string path = std::filesystem::path(MARL_TOOL).parent_path().string() + ':' + std::getenv("PATH");

    const pid_t child = fork();
    if (child == 0) {
        dup2(open(outFile.c_str(), O_WRONLY | O_CREAT, 0600), 1);
        dup2(open(errFile.c_str(), O_WRONLY | O_CREAT, 0600), 2);
        const rlimit none = {0, 0};
        setrlimit(RLIMIT_CORE, &none);
        if (chdir(folder.c_str()) == 0 && setenv("PATH", path.c_str(), 1) == 0)
            execvp(pointers[0], pointers.data());
        _exit(127);
    }
    if (meanwhile)
        meanwhile(child);
    int status = 0;
    rusage usage = {};
    wait4(child, &status, 0, &usage);
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -WTERMSIG(status), contentOf(outFile), contentOf(errFile),
            usage.ru_maxrss};
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

std::string repeated(int count, std::string_view text)
{
    std::string all;
    for (int i = 0; i < count; ++i)
        all += text;
    return all;
}

ToolRun runMarl(std::vector<std::string> arguments, const std::filesystem::path& folder,
                const std::function<void(pid_t)>& meanwhile)
{
    arguments.insert(arguments.begin(), "marl");
    return run(std::move(arguments), folder, meanwhile);
}

ToolRun runShell(const std::string& command, const std::filesystem::path& folder)
{
    return run({"sh", "-c", command}, folder, {});
}

} // namespace Marl::Host
