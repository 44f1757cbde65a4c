#pragma once

#include "platform/Desktop.h"
#include "platform/Dialogs.h"
#include "platform/LoginItem.h"
#include "platform/Notifier.h"
#include "platform/ServiceUnits.h"
#include "platform/SettingsStore.h"
#include "release/ReleaseAnswer.h"
#include "statuspage/StatusPageResult.h"
#include "task/Clock.h"

#include <QCoro/QCoroTask>

#include <functional>
#include <memory>

namespace orvanel {

struct HostFunctions;

/// Everything outside the controller that it uses; a test can replace each part with its own. What the pointers and
/// functions refer to must outlive the controller.
struct ControllerEnvironment {
    SettingsStore* defaults = nullptr;
    Clock* clock = nullptr;
    Notifier* notifier = nullptr;
    LoginItem* loginItem = nullptr;
    Desktop* desktop = nullptr;
    Dialogs* dialogs = nullptr;
    /// Null where there is no service manager.
    ServiceUnits* units = nullptr;

    /// The user's application-support folder.
    QString applicationSupport = {};

    std::function<QCoro::Task<PageAnswer>(int port)> pageAnswers = {};
    std::function<QCoro::Task<StatusPageResult>(int port, QString slug)> fetchStatusPage = {};
    std::function<QCoro::Task<ReleaseResult>()> fetchLatestRelease = {};

    /// Commands, ports, and copies of the data. If null, the controller uses those of this computer.
    std::shared_ptr<const HostFunctions> host = {};
};

} // namespace orvanel
