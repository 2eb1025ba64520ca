#include <host/commands/prepared_scene.h>

#include <host/analysis/check.h>
#include <host/commands/command.h>
#include <host/scene/description.h>

namespace Marl::Host {

PreparedScene::PreparedScene(const std::string& path) : scene(path), resolution(resolve(scene))
{
    const std::vector<Diagnostic> mistakes = mistakesOf(scene, resolution);
    for (const Diagnostic& mistake : mistakes)
        printError(describe(mistake, scene.file));
    hasMistakes = !mistakes.empty();
}

} // namespace Marl::Host
