#include "app/views/settings/AboutSection.h"

namespace orvanel {

AboutSection::AboutSection(QWidget* parent)
    : SettingsSection(QStringLiteral("About"), parent) {
    addCaption(QStringLiteral("Orvanel controls Uptime Kuma running in Docker on this Mac."));
    addCaption(QStringLiteral("Uptime Kuma is the work of the Uptime Kuma project, published under the MIT License."));
}

} // namespace orvanel
