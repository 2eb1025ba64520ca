// A scene as the commands take it up.
#pragma once

#include <host/analysis/resolution.h>

#include <string>

namespace Marl::Host {

// Read and ready to be evaluated, its mistakes shown on standard error.
class PreparedScene {
public:
    // Throws FileError.
    explicit PreparedScene(const std::string& path);

    // Mistakes in the text hide too much of a scene to go on with it; the others cost what needs them.
    bool isWhole() const { return scene.reading.mistakes.empty(); }

    Scene scene;
    Resolution resolution;
    bool hasMistakes;
};

} // namespace Marl::Host
