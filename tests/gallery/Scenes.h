#pragma once

#include "GalleryWorld.h"

#include <QWidget>

#include <memory>
#include <vector>

namespace orvanel::test {

/// One window in one state. The caller chooses palette, size and font.
struct Scene {
    /// What the scene shows, with hyphens; also the name of its picture.
    const char* name;
    /// Brings the world into the state, and makes the window, which the caller shows.
    std::function<std::unique_ptr<QWidget>(GalleryWorld& world)> make;
    /// Does something after the window is shown, such as opening a section or turning a page. May be empty.
    std::function<void(QWidget& window)> act;
};

/// All scenes, in the order in which a user meets them. Each function below makes some of them.
std::vector<Scene> allScenes();

std::vector<Scene> mainWindowScenes();
std::vector<Scene> dashboardScenes();
std::vector<Scene> settingsScenes();
std::vector<Scene> logsScenes();

} // namespace orvanel::test
