#pragma once

#include "app/AppWindow.h"
#include "app/WidgetDialogs.h"

namespace orvanel {

class Clock;
class KumaController;

/// The window "logs".
class LogsWindow final : public AppWindow {
    Q_OBJECT

public:
    LogsWindow(KumaController& controller, Clock& clock);

private:
    WidgetDialogs m_dialogs;
};

} // namespace orvanel
