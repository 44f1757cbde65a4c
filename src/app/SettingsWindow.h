#pragma once

#include "app/AppWindow.h"
#include "app/views/View.h"

namespace orvanel {

class Dialogs;

/// The window "settings".
class SettingsWindow final : public AppWindow {
    Q_OBJECT

public:
    /// The dialogs outlive the window, and the questions that it has asked.
    SettingsWindow(ViewContext context, Dialogs& dialogs);
};

} // namespace orvanel
