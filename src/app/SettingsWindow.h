#pragma once

#include "app/AppWindow.h"
#include "app/WidgetDialogs.h"
#include "app/views/View.h"

namespace orvanel {

/// The window "settings".
class SettingsWindow final : public AppWindow {
    Q_OBJECT

public:
    explicit SettingsWindow(ViewContext context);

private:
    WidgetDialogs m_dialogs;
};

} // namespace orvanel
