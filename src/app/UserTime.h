#pragma once

#include <QAbstractNativeEventFilter>

#include <functional>
#include <memory>
#include <vector>

class QWindow;
struct xcb_connection_t;

namespace orvanel {

/// X11's time of what the user did last. A window manager lets a new window come to the front only when the program
/// knows a later time than the window that is used. Qt takes the time from the events of its own windows, and misses
/// what the user does elsewhere for this program: in the menu of a panel, on a notification, by starting it again.
///
/// Made after the application object. Main thread.
class UserTime final : public QAbstractNativeEventFilter {
public:
    UserTime();
    ~UserTime() override;

    /// Calls `then` when Qt knows the X server's present time: soon, or at once on other displays than X11.
    void renew(std::function<void()> then);

    bool nativeEventFilter(const QByteArray& kind, void* message, qintptr* result) override;

private:
    void callWaiting();

    xcb_connection_t* m_connection = nullptr;
    /// Never shown; Qt only handles events of its own windows.
    std::unique_ptr<QWindow> m_window;
    std::vector<std::function<void()>> m_waiting;
};

} // namespace orvanel
