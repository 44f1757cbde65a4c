#include "standin/desktop/TrayItem.h"

#include "standin/desktop/DBusCall.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusPendingCall>
#include <QtEndian>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel::standin {
namespace {

const QString itemInterface = u"org.kde.StatusNotifierItem"_s;

/// The D-Bus type "(iiay)": width, height, and the pixels as ARGB32 in network byte order.
QImage readPixmap(const QDBusArgument& argument) {
    int width = 0;
    int height = 0;
    QByteArray bytes;
    argument.beginStructure();
    argument >> width >> height >> bytes;
    argument.endStructure();
    if (width <= 0 || height <= 0 || bytes.size() != qsizetype{4} * width * height) {
        return {};
    }
    QImage image(width, height, QImage::Format_ARGB32);
    for (int y = 0; y < height; ++y) {
        qFromBigEndian<quint32>(bytes.constData() + qsizetype{4} * width * y, width, image.scanLine(y));
    }
    return image;
}

QList<QImage> readPixmaps(const QDBusArgument& argument) {
    QList<QImage> images;
    argument.beginArray();
    while (!argument.atEnd()) {
        images += readPixmap(argument);
    }
    argument.endArray();
    images.removeIf([](const QImage& image) { return image.isNull(); });
    std::sort(images.begin(), images.end(), [](const QImage& a, const QImage& b) { return a.width() < b.width(); });
    return images;
}

/// The D-Bus type "(sa(iiay)ss)": icon name, icon, title, text. Programs put their line into either of the last two.
QString readToolTip(const QDBusArgument& argument) {
    QString iconName;
    QString title;
    QString text;
    argument.beginStructure();
    argument >> iconName;
    readPixmaps(argument);
    argument >> title >> text;
    argument.endStructure();
    return title.isEmpty() ? text : title;
}

} // namespace

TrayItem::TrayItem(QDBusConnection bus, QString service, QString path, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_service(std::move(service))
    , m_path(std::move(path))
    , m_menu(m_bus, m_service) {
    for (const char* name : {"NewIcon", "NewToolTip", "NewTitle", "NewStatus", "NewMenu"}) {
        m_bus.connect(m_service, m_path, itemInterface, QString::fromLatin1(name), this, SLOT(read()));
    }
    connect(&m_menu, &TrayMenu::changed, this, &TrayItem::changed);
    read();
}

QImage TrayItem::icon(int size) const {
    const auto fits =
        std::find_if(m_icons.begin(), m_icons.end(), [&](const QImage& image) { return image.width() >= size; });
    if (fits != m_icons.end()) {
        return *fits;
    }
    return m_icons.isEmpty() ? QImage() : m_icons.last();
}

void TrayItem::activate() {
    auto message = QDBusMessage::createMethodCall(m_service, m_path, itemInterface, u"Activate"_s);
    message.setArguments({0, 0});
    m_bus.asyncCall(message);
}

void TrayItem::read() {
    auto message = QDBusMessage::createMethodCall(m_service, m_path, u"org.freedesktop.DBus.Properties"_s, u"GetAll"_s);
    message.setArguments({itemInterface});
    callThen(m_bus, message, this, [this](const QVariantList& answer) {
        if (!answer.isEmpty()) {
            take(qdbus_cast<QVariantMap>(answer[0]));
        }
    });
}

void TrayItem::take(const QVariantMap& properties) {
    m_title = properties.value(u"Title"_s).toString();
    m_status = properties.value(u"Status"_s).toString();
    m_icons = readPixmaps(properties.value(u"IconPixmap"_s).value<QDBusArgument>());
    m_toolTip = readToolTip(properties.value(u"ToolTip"_s).value<QDBusArgument>());
    m_menu.setPath(properties.value(u"Menu"_s).value<QDBusObjectPath>().path());
    Q_EMIT changed();
}

} // namespace orvanel::standin
