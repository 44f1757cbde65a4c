#pragma once

#include "controller/ControllerEnvironment.h"
#include "platform/AutostartEntry.h"
#include "platform/DesktopNotifier.h"
#include "platform/FreedesktopDesktop.h"
#include "release/ReleaseClient.h"

namespace orvanel {

/// The user's own settings, desktop, status page and source of releases, as the running program uses them.
class UserEnvironment final {
public:
    UserEnvironment();
    UserEnvironment(const UserEnvironment&) = delete;
    UserEnvironment& operator=(const UserEnvironment&) = delete;

    /// All but the dialogs, which belong to the windows. Refers to this object.
    ControllerEnvironment forController();

    DesktopNotifier& notifier() { return m_notifier; }

private:
    SettingsStore m_defaults;
    DesktopNotifier m_notifier;
    AutostartEntry m_loginItem;
    FreedesktopDesktop m_desktop;
    StatusPageClient m_statusPage;
    ReleaseClient m_releases;
};

} // namespace orvanel
