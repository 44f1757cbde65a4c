#pragma once

#include "app/AppWindow.h"

namespace orvanel {

class Clock;
class Dialogs;
class KumaController;

/// The window "logs".
class LogsWindow final : public AppWindow {
    Q_OBJECT

public:
    /// All of them outlive the window, and the questions that it has asked.
    LogsWindow(KumaController& controller, Dialogs& dialogs, Clock& clock);
};

} // namespace orvanel
