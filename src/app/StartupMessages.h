#pragma once

#include <QtMessageHandler>

namespace orvanel {

/// Qt ends a program that cannot connect to a display by abort(), after several lines about plug-ins. While this object
/// exists, the program then ends with one sentence on standard error and status 1. Other messages are printed when the
/// object goes. With QT_DEBUG_PLUGINS in the environment all messages are printed as they come.
///
/// For the main thread, around the construction of the application object; one at a time.
class StartupMessages final {
public:
    StartupMessages();
    ~StartupMessages();
    StartupMessages(const StartupMessages&) = delete;
    StartupMessages& operator=(const StartupMessages&) = delete;

private:
    QtMessageHandler m_previous;
};

} // namespace orvanel
