#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QObject>

#include <functional>

namespace orvanel::standin {

/// Sends a call without waiting for it. `then` is called with the reply's arguments, or with none if the call failed;
/// it is not called if `owner` no longer exists.
void callThen(QDBusConnection bus, const QDBusMessage& call, QObject* owner,
              std::function<void(const QVariantList& answer)> then);

} // namespace orvanel::standin
