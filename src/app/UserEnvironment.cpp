#include "app/UserEnvironment.h"

#include "platform/UserFiles.h"
#include "task/FastClock.h"
#include "task/SystemClock.h"

namespace orvanel {
namespace {

/// Where the tools are stand-ins (ORVANEL_TOOL_ROOT), the controller's pauses can be made ORVANEL_HASTE times as short,
/// so that a test lives through days. Real tools are never asked that often, and time limits never change.
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
    environment.applicationSupport = folders::applicationSupport();
    environment.pageAnswers = [this](int port) { return m_statusPage.pageAnswers(port); };
    environment.fetchStatusPage = [this](int port, const QString& slug) { return m_statusPage.fetch(port, slug); };
    environment.fetchLatestRelease = [this] { return m_releases.fetch(); };
    return environment;
}

} // namespace orvanel
