// Scenes out of bytes: read, resolved, checked, evaluated and written as text.
#include <fuzz/outcome.h>

#include <host/analysis/check.h>
#include <host/analysis/resolution.h>
#include <host/output/value_text.h>
#include <host/scene/description.h>
#include <host/scene/scene.h>

#include <cstdio>
#include <cstdlib>
#include <string>

#include <sys/mman.h>
#include <unistd.h>

namespace Marl::Fuzz {

namespace {

// A file without a place on any disk. Scenes are read from files only, mapped and piece by piece.
class MemoryFile {
public:
    MemoryFile(const std::uint8_t* data, std::size_t size) : handle(memfd_create("scene", MFD_CLOEXEC))
    {
        if (handle < 0 || write(handle, data, size) != static_cast<ssize_t>(size)) {
            std::perror("memory file");
            std::exit(1);
        }
    }
    ~MemoryFile() { close(handle); }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;

    std::string path() const { return "/proc/self/fd/" + std::to_string(handle); }

private:
    const int handle;
};

void evaluateProperty(ExpressionAST* expression, double time)
try {
    ReferenceWalk walk;
    CalculationVisitor evaluator;
    walk.time = time;
    evaluator.setTimeParam(time);
    walk.depthLimit = 500;
    evaluator.setDepthLimit(500);
    const Outcome expected = outcomeOf(walk, expression); // first, for it gives up
    const Outcome outcome = outcomeOf(evaluator, expression);
    expectSame("the evaluator", outcome, expected);
    if (outcome.failure == "Expression is incomplete.") {
        std::fputs("a scene without mistakes has an incomplete expression\n", stderr);
        std::abort();
    }
    if (outcome.failure.empty())
        Host::valueText(outcome.top);
} catch (const ReferenceWalk::TooMuchWork&) { // references may multiply in a small scene
}

void readScene(const std::string& path)
{
    Host::Scene scene(path);
    const Host::Resolution resolution = Host::resolve(scene);
    const auto mistakes = Host::mistakesOf(scene, resolution);
    for (const Host::Diagnostic& mistake : mistakes)
        Host::describe(mistake, scene.file);
    if (!scene.reading.mistakes.empty())
        return;

    for (const Host::Diagnostic& warning : Host::checkScene(scene))
        Host::describe(warning, scene.file);
    for (const Host::SceneProperty& property : scene.properties)
        for (const double time : {0.0, 1.5})
            evaluateProperty(property.property->expression, time);
}

} // namespace

} // namespace Marl::Fuzz

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const Marl::Fuzz::MemoryFile file(data, size);
    Marl::Fuzz::readScene(file.path());
    return 0;
}
