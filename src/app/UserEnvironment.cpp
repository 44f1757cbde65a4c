#include "app/UserEnvironment.h"

#include "platform/Folders.h"
#include "task/SystemClock.h"

namespace orvanel {

UserEnvironment::UserEnvironment()
    : m_statusPage(SystemClock::instance()) {}

ControllerEnvironment UserEnvironment::forController() {
    ControllerEnvironment environment;
    environment.defaults = &m_defaults;
    environment.clock = &SystemClock::instance();
    environment.notifier = &m_notifier;
    environment.loginItem = &m_loginItem;
    environment.desktop = &m_desktop;
    environment.applicationSupport = folders::applicationSupport();
    environment.pageAnswers = [this](int port) { return m_statusPage.pageAnswers(port); };
    environment.fetchStatusPage = [this](int port, const QString& slug) { return m_statusPage.fetch(port, slug); };
    return environment;
}

} // namespace orvanel
