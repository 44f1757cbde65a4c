#include "app/UserEnvironment.h"

#include "platform/UserFiles.h"
#include "task/Clock.h"

namespace orvanel {
namespace {

/// With stand-in tools (ORVANEL_TOOL_ROOT), ORVANEL_HASTE makes the controller's pauses that many times as short, so
/// that a test can simulate days. Real tools are never asked that often, and time limits never change.
Clock& controllersClock() {
    const int haste = qEnvironmentVariableIntValue("ORVANEL_HASTE");
    if (haste < 2 || qEnvironmentVariableIsEmpty("ORVANEL_TOOL_ROOT")) {
        return SystemClock::instance();
    }
    static FastClock clock(SystemClock::instance(), haste);
    return clock;
}

/// The demo and the tests set the variable ORVANEL_RELEASE_ENDPOINT to the address of a stand-in.
QUrl releaseEndpoint() {
    const QUrl standIn(qEnvironmentVariable("ORVANEL_RELEASE_ENDPOINT"), QUrl::StrictMode);
    return standIn.isValid() && !standIn.isEmpty() ? standIn : ReleaseClient::projectEndpoint();
}

} // namespace

UserEnvironment::UserEnvironment()
    : m_statusPage(SystemClock::instance())
    , m_releases(SystemClock::instance(), releaseEndpoint()) {}

ControllerEnvironment UserEnvironment::forController() {
    ControllerEnvironment environment;
    environment.defaults = &m_defaults;
    environment.clock = &controllersClock();
    environment.notifier = &m_notifier;
    environment.loginItem = &m_loginItem;
    environment.desktop = &m_desktop;
    environment.units = &m_units;
    environment.applicationSupport = folders::applicationSupport();
    environment.pageAnswers = [this](int port) { return m_statusPage.pageAnswers(port); };
    environment.fetchStatusPage = [this](int port, const QString& slug) { return m_statusPage.fetch(port, slug); };
    environment.fetchLatestRelease = [this] { return m_releases.fetch(); };
    return environment;
}

} // namespace orvanel
