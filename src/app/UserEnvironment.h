#pragma once

#include "controller/ControllerEnvironment.h"
#include "platform/AutostartEntry.h"
#include "platform/DesktopNotifier.h"
#include "platform/FreedesktopDesktop.h"
#include "platform/SystemdUnits.h"
#include "release/ReleaseClient.h"
#include "statuspage/StatusPageClient.h"

namespace orvanel {

/// What the running program works with: the user's settings and desktop, the status page, and the source of releases.
class UserEnvironment final {
public:
    UserEnvironment();
    UserEnvironment(const UserEnvironment&) = delete;
    UserEnvironment& operator=(const UserEnvironment&) = delete;

    /// Everything but the dialogs, which belong to the windows. It refers to this object.
    ControllerEnvironment forController();

    DesktopNotifier& notifier() { return m_notifier; }

private:
    SettingsStore m_defaults;
    DesktopNotifier m_notifier;
    AutostartEntry m_loginItem;
    FreedesktopDesktop m_desktop;
    SystemdUnits m_units{SystemdUnits::systemBus(), SystemdUnits::userBus()};
    StatusPageClient m_statusPage;
    ReleaseClient m_releases;
};

} // namespace orvanel
