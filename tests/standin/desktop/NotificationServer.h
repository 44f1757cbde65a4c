#pragma once

#include <QDBusConnection>
#include <QObject>
#include <QStringList>
#include <QVariantMap>

using namespace Qt::StringLiterals;

namespace orvanel::standin {

/// A notification as a program asked for it.
struct Notification {
    uint id = 0;
    QString program;
    QString icon;
    QString summary;
    /// May hold the markup that the server announces ("body-markup").
    QString body;
    /// Keys and labels, in turn.
    QStringList actions;
    QVariantMap hints;
    /// Whether it is still on the screen.
    bool shown = true;
};

/// The notification server of a desktop: org.freedesktop.Notifications on the given bus.
class NotificationServer final : public QObject {
    Q_OBJECT

public:
    /// Why a notification left the screen; the numbers are the protocol's.
    enum class Reason : uint { Expired = 1, Dismissed = 2, ClosedByProgram = 3 };

    explicit NotificationServer(QDBusConnection bus, QObject* parent = nullptr);
    ~NotificationServer() override;

    /// Takes the name on the bus; false if another server has it.
    [[nodiscard]] bool open();
    /// Sets the capabilities that the server announces. Call it before programs ask.
    void setCapabilities(const QStringList& capabilities) { m_capabilities = capabilities; }
    QStringList capabilities() const { return m_capabilities; }

    /// All notifications so far, oldest first.
    QList<Notification> all() const { return m_all; }
    QList<Notification> shown() const;

    void dismiss(uint id, Reason reason = Reason::Dismissed);
    /// Clicks on an action ("default" is the notification itself), which takes the notification off the screen.
    void invoke(uint id, const QString& action);

    /// Called by the object on the bus.
    uint take(Notification notification, uint replaces);

Q_SIGNALS:
    void changed();

private:
    QDBusConnection m_bus;
    QStringList m_capabilities{u"actions"_s, u"body"_s, u"body-markup"_s, u"sound"_s};
    QObject* m_face = nullptr;
    QList<Notification> m_all;
    uint m_lastId = 0;
};

} // namespace orvanel::standin
