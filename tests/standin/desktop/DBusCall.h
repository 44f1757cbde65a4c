#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <functional>

namespace orvanel::standin {

/// Sends a call without waiting for it. `then` is given the reply's arguments, or none when the call failed; it is not
/// called when `owner` is gone by then.
void callThen(QDBusConnection bus, const QDBusMessage& call, QObject* owner,
              std::function<void(const QVariantList& answer)> then);

} // namespace orvanel::standin
