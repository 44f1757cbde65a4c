#pragma once

#include "GalleryWorld.h"

#include <QWidget>

#include <memory>
#include <vector>

namespace orvanel::test {

/// One window in one state. Light and dark, sizes and fonts come from whoever shows it.
struct Scene {
    /// Also the name of its picture: what it shows, with hyphens.
    const char* name;
    /// Brings the world into the state, and makes the window; it is shown by the caller.
    std::function<std::unique_ptr<QWidget>(GalleryWorld& world)> make;
    /// What is to be done once it is shown: a section opened, a page turned. May be empty.
    std::function<void(QWidget& window)> act;
};

/// All of them, in the order in which a user meets them. Each file below makes some.
std::vector<Scene> allScenes();

std::vector<Scene> mainWindowScenes();
std::vector<Scene> dashboardScenes();
std::vector<Scene> settingsScenes();
std::vector<Scene> logsScenes();

} // namespace orvanel::test
