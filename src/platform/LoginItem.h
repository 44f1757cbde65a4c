#pragma once

#include <QString>

#include <optional>

namespace orvanel {

/// Whether the desktop starts this program at login. Main thread.
class LoginItem {
public:
    LoginItem() = default;
    virtual ~LoginItem() = default;
    LoginItem(const LoginItem&) = delete;
    LoginItem& operator=(const LoginItem&) = delete;

    /// The true status, read each time.
    virtual bool isEnabled() const = 0;
    /// Registers or unregisters; the description of the failure, or none after success.
    virtual std::optional<QString> setEnabled(bool enabled) = 0;
};

} // namespace orvanel
