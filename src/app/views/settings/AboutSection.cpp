#include "app/views/settings/AboutSection.h"

using namespace Qt::StringLiterals;

namespace orvanel {

AboutSection::AboutSection(QWidget* parent)
    : SettingsSection(u"About"_s, parent) {
    addCaption(u"Orvanel controls Uptime Kuma running in Docker on this Mac."_s);
    addCaption(u"Uptime Kuma is the work of the Uptime Kuma project, published under the MIT License."_s);
}

} // namespace orvanel
