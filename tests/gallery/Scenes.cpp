#include "Scenes.h"

namespace orvanel::test {

std::vector<Scene> allScenes() {
    std::vector<Scene> all;
    for (const auto& scenes : {mainWindowScenes(), dashboardScenes(), settingsScenes(), logsScenes()}) {
        all.insert(all.end(), scenes.begin(), scenes.end());
    }
    return all;
}

} // namespace orvanel::test
