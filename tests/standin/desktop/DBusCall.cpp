#include "standin/desktop/DBusCall.h"

#include <QDBusPendingCallWatcher>

namespace orvanel::standin {

void callThen(QDBusConnection bus, const QDBusMessage& call, QObject* owner,
              std::function<void(const QVariantList& answer)> then) {
    auto* watcher = new QDBusPendingCallWatcher(bus.asyncCall(call), owner);
    QObject::connect(watcher, &QDBusPendingCallWatcher::finished, owner,
                     [then = std::move(then)](QDBusPendingCallWatcher* finished) {
                         finished->deleteLater();
                         then(finished->isError() ? QVariantList() : finished->reply().arguments());
                     });
}

} // namespace orvanel::standin
