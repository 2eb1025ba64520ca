// Scenes from text, and the tool as a process.
#pragma once

#include <host/scene/scene.h>

#include <filesystem>
#include <functional>
#include <string>
#include <string_view>
#include <vector>

#include <sys/types.h>

namespace Marl::Host {

// A folder that is gone at the end, for the files of one test.
class ScratchFolder {
public:
    ScratchFolder();
    ~ScratchFolder();

    // Writes the file and returns its path.
    std::string write(const std::string& name, std::string_view text) const;
    std::string path(const std::string& name) const { return (folder / name).string(); }

    const std::filesystem::path folder;
};

std::string contentOf(const std::string& path);

// The text as a scene in a file of its own.
struct TextScene {
    explicit TextScene(std::string_view text) : scene(files.write("text.scene", text)) {}

    ScratchFolder files;
    Scene scene;
};

// `scene 1; object o { ... }` with the statements given.
std::string inObject(std::string_view statements);

std::string repeated(int count, std::string_view text);

struct ToolRun {
    int status = -1; // of exit, or minus the signal
    std::string out, err;
    long peakKilobytes = 0;
};

// Runs the tool in the folder. What is to happen meanwhile is told the tool's process.
ToolRun runMarl(std::vector<std::string> arguments, const std::filesystem::path& folder,
                const std::function<void(pid_t)>& meanwhile = {});

// Runs a command of the shell, which knows the tool as `marl`.
ToolRun runShell(const std::string& command, const std::filesystem::path& folder);

} // namespace Marl::Host
