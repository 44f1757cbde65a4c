#pragma once

#include <QString>

namespace orvanel {

/// Posts desktop notifications. Main thread; never blocks. Failures are silent, because the user cannot act on them.
class Notifier {
public:
    Notifier() = default;
    virtual ~Notifier() = default;
    Notifier(const Notifier&) = delete;
    Notifier& operator=(const Notifier&) = delete;

    /// Whether this program can post at all here.
    virtual bool mayPost() const = 0;
    /// Asks, once a run, for permission to show alerts and play a sound. Where no permission is needed, prepares for
    /// posting.
    virtual void requestAuthorization() = 0;
    /// Both texts are plain. No notification replaces an earlier one.
    virtual void post(const QString& title, const QString& body) = 0;
};

} // namespace orvanel
