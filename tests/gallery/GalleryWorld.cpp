#include "GalleryWorld.h"

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel::test {
namespace {

constexpr char toolRoot[] = "ORVANEL_TOOL_ROOT";

} // namespace

GalleryWorld::GalleryWorld() {
    // The tools of this computer must not be found.
    qputenv(toolRoot, QFile::encodeName(home.path(u"tools"_s)));
    home.write(u".config/Orvanel/Orvanel.conf"_s, "[General]\nhasSeenGuide=true\n");
}

GalleryWorld::~GalleryWorld() {
    qunsetenv(toolRoot);
}

void GalleryWorld::poll() {
    controller().begin();
    settle();
}

void GalleryWorld::advanceUntil(const std::function<bool()>& condition) {
    for (int turns = 0; !condition(); ++turns) {
        if (turns == 1000 || clock.pendingTimers() == 0) {
            qFatal("the world never reaches the state of the scene");
        }
        advance(std::max(clock.untilNextTimer(), 0ms));
    }
}

} // namespace orvanel::test
