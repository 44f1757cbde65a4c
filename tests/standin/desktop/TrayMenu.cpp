#include "standin/desktop/TrayMenu.h"

#include "standin/desktop/DBusCall.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusPendingCall>
#include <QDBusVariant>
#include <QDateTime>
#include <QVariantMap>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel::standin {
namespace {

const QString menuInterface = u"com.canonical.dbusmenu"_s;

/// In labels, "__" stands for an underscore, and a single "_" marks the mnemonic.
QString withoutMnemonic(const QString& label) {
    QString text;
    for (qsizetype i = 0; i < label.size(); ++i) {
        if (label[i] == u'_' && ++i == label.size()) {
            break;
        }
        text += label[i];
    }
    return text;
}

/// The D-Bus type "aas": alternatives, each a list of keys. The first one counts.
QString shortcutOf(const QVariant& value) {
    if (!value.canConvert<QDBusArgument>()) {
        return {};
    }
    const auto argument = value.value<QDBusArgument>();
    QList<QStringList> alternatives;
    argument >> alternatives;
    QStringList keys = alternatives.value(0);
    keys.replaceInStrings(u"Control"_s, u"Ctrl"_s);
    return keys.join(u'+');
}

MenuEntry entryFrom(int id, const QVariantMap& properties) {
    MenuEntry entry;
    entry.id = id;
    entry.text = withoutMnemonic(properties.value(u"label"_s).toString());
    entry.enabled = properties.value(u"enabled"_s, true).toBool();
    entry.separator = properties.value(u"type"_s).toString() == u"separator";
    entry.shortcut = shortcutOf(properties.value(u"shortcut"_s));
    return entry;
}

/// The children of the root of a layout: (i id, a{sv} properties, av children).
QList<MenuEntry> entriesOf(const QDBusArgument& layout) {
    int id = 0;
    QVariantMap properties;
    QVariantList children;
    layout.beginStructure();
    layout >> id >> properties >> children;
    layout.endStructure();

    QList<MenuEntry> entries;
    for (const QVariant& child : children) {
        const auto argument = child.value<QDBusArgument>();
        QVariantList grandchildren;
        argument.beginStructure();
        argument >> id >> properties >> grandchildren;
        argument.endStructure();
        if (properties.value(u"visible"_s, true).toBool()) {
            entries += entryFrom(id, properties);
        }
    }
    return entries;
}

} // namespace

TrayMenu::TrayMenu(QDBusConnection bus, QString service, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_service(std::move(service)) {}

void TrayMenu::setPath(const QString& path) {
    if (path == m_path) {
        return;
    }
    m_path = path;
    for (const char* name : {"LayoutUpdated", "ItemsPropertiesUpdated"}) {
        m_bus.connect(m_service, m_path, menuInterface, QString::fromLatin1(name), this, SLOT(readLayout()));
    }
    readLayout();
}

std::optional<MenuEntry> TrayMenu::find(const QString& text) const {
    const auto found = std::find_if(m_entries.begin(), m_entries.end(),
                                    [&](const MenuEntry& entry) { return !entry.separator && entry.text == text; });
    return found == m_entries.end() ? std::nullopt : std::optional(*found);
}

void TrayMenu::open() {
    if (m_open || m_path.isEmpty()) {
        return;
    }
    m_open = true;
    callThen(m_bus, call(u"AboutToShow"_s, {0}), this, [this](const QVariantList&) { readLayout(); });
    sendEvent(0, u"opened"_s);
    Q_EMIT changed();
}

void TrayMenu::close() {
    if (!m_open) {
        return;
    }
    m_open = false;
    sendEvent(0, u"closed"_s);
    Q_EMIT changed();
}

bool TrayMenu::press(int id) {
    const auto entry =
        std::find_if(m_entries.begin(), m_entries.end(), [&](const MenuEntry& each) { return each.id == id; });
    if (entry == m_entries.end() || entry->separator || !entry->enabled) {
        return false;
    }
    sendEvent(id, u"clicked"_s);
    close();
    return true;
}

void TrayMenu::readLayout() {
    const QStringList allProperties;
    callThen(m_bus, call(u"GetLayout"_s, {0, -1, allProperties}), this, [this](const QVariantList& answer) {
        if (answer.size() != 2) {
            return;
        }
        const auto entries = entriesOf(answer[1].value<QDBusArgument>());
        if (entries != m_entries) {
            m_entries = entries;
            Q_EMIT changed();
        }
    });
}

void TrayMenu::sendEvent(int id, const QString& what) {
    const auto noData = QVariant::fromValue(QDBusVariant(QString()));
    const auto now = static_cast<uint>(QDateTime::currentSecsSinceEpoch());
    m_bus.asyncCall(call(u"Event"_s, {id, what, noData, now}));
}

QDBusMessage TrayMenu::call(const QString& method, const QVariantList& arguments) const {
    auto message = QDBusMessage::createMethodCall(m_service, m_path, menuInterface, method);
    message.setArguments(arguments);
    return message;
}

} // namespace orvanel::standin
