#include "standin/desktop/ScreenReader.h"

#include "standin/desktop/DBusCall.h"

#include <QCoreApplication>
#include <QDBusAbstractAdaptor>
#include <QDBusArgument>
#include <QDBusConnectionInterface>
#include <QDBusContext>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusPendingCall>
#include <QDBusVariant>

#include <algorithm>
#include <deque>

using namespace Qt::StringLiterals;

namespace orvanel::standin {

/// The D-Bus type "(so)": an object of a program.
struct Reference {
    QString service;
    QDBusObjectPath path;
};

/// QtDBus passes values as const references, so the operators take those.
QDBusArgument& operator<<(QDBusArgument& argument, const Reference& reference) {
    argument.beginStructure();
    argument << reference.service << reference.path;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Reference& reference) {
    argument.beginStructure();
    argument >> reference.service >> reference.path;
    argument.endStructure();
    return argument;
}

/// The D-Bus type "(ss)": an event, and who wants to hear of it.
struct Subscription {
    QString listener;
    QString event;
};

QDBusArgument& operator<<(QDBusArgument& argument, const Subscription& subscription) {
    argument.beginStructure();
    argument << subscription.listener << subscription.event;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, Subscription& subscription) {
    argument.beginStructure();
    argument >> subscription.listener >> subscription.event;
    argument.endStructure();
    return argument;
}

} // namespace orvanel::standin

Q_DECLARE_METATYPE(orvanel::standin::Reference)
Q_DECLARE_METATYPE(orvanel::standin::Subscription)

namespace orvanel::standin {
namespace {

const QString rootPath = u"/org/a11y/atspi/accessible/root"_s;
const QString eventsPath = u"/org/a11y/atspi/registry"_s;
const QString keysPath = u"/org/a11y/atspi/registry/deviceeventcontroller"_s;
const QString busName = u"org.a11y.Bus"_s;
const QString registryName = u"org.a11y.atspi.Registry"_s;
const QString accessible = u"org.a11y.atspi.Accessible"_s;

// Numbers of AtspiStateType.
constexpr unsigned enabledState = 8;
constexpr unsigned showingState = 25;

// NOLINTBEGIN(readability-identifier-naming): the names of the bus

/// Tells programs that this bus is the accessibility bus.
class BusFace final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.a11y.Bus")

public:
    BusFace(QObject* object, QString address)
        : QDBusAbstractAdaptor(object)
        , m_address(std::move(address)) {}

    Q_SLOT QString GetAddress() const { return m_address; }

private:
    const QString m_address;
};

/// Tells programs that a screen reader is listening.
class StatusFace final : public QDBusAbstractAdaptor {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.a11y.Status")
    Q_PROPERTY(bool IsEnabled READ isOn)
    Q_PROPERTY(bool ScreenReaderEnabled READ isOn)

public:
    explicit StatusFace(QObject* object)
        : QDBusAbstractAdaptor(object) {}

    bool isOn() const { return true; }
};

/// The object that programs register with.
class Registry final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.a11y.atspi.Socket")

public:
    explicit Registry(ScreenReader* reader)
        : QObject(reader)
        , m_reader(reader) {}

    Q_SLOT orvanel::standin::Reference Embed(const orvanel::standin::Reference& /*program*/) {
        m_reader->takeProgram(message().service());
        return {registryName, QDBusObjectPath(rootPath)};
    }

private:
    ScreenReader* const m_reader;
};

/// The object that programs ask which events they should send.
class EventRegistry final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.a11y.atspi.Registry")

public:
    using QObject::QObject;

    Q_SLOT QList<orvanel::standin::Subscription> GetRegisteredEvents() const {
        return {{registryName, u"Object:StateChanged:Showing"_s}};
    }
};

// NOLINTEND(readability-identifier-naming)

/// The object that programs ask, for each key, whether the reader takes it. It takes none.
class KeyListeners final : public QDBusVirtualObject {
public:
    using QDBusVirtualObject::QDBusVirtualObject;

    QString introspect(const QString& /*path*/) const override { return {}; }
    bool handleMessage(const QDBusMessage& message, const QDBusConnection& connection) override {
        if (message.member() != u"NotifyListenersSync") {
            return false;
        }
        return connection.send(message.createReply(false));
    }
};

bool hasState(const QList<uint>& states, unsigned number) {
    const auto word = static_cast<qsizetype>(number / 32);
    return word < states.size() && ((states[word] >> (number % 32)) & 1U) != 0;
}

} // namespace

/// One reading of the whole tree. `found` keeps the order of the tree, although answers come in any order.
struct ScreenReader::Walk {
    struct Node {
        ScreenElement element;
        std::vector<std::size_t> children;
    };

    std::deque<Node> found;
    int pending = 0;

    void collect(std::size_t slot, QList<ScreenElement>& into) const {
        into += found[slot].element;
        for (const std::size_t child : found[slot].children) {
            collect(child, into);
        }
    }
};

ScreenReader::ScreenReader(QDBusConnection bus, QObject* parent)
    : QObject(parent)
    , m_bus(std::move(bus))
    , m_accessibilityBus(new QObject(this))
    , m_registry(new Registry(this))
    , m_events(new EventRegistry(this))
    , m_keys(new KeyListeners(this)) {
    qDBusRegisterMetaType<Reference>();
    qDBusRegisterMetaType<QList<Reference>>();
    qDBusRegisterMetaType<Subscription>();
    qDBusRegisterMetaType<QList<Subscription>>();
}

ScreenReader::~ScreenReader() {
    m_bus.unregisterService(busName);
    m_bus.unregisterService(registryName);
    m_bus.unregisterObject(u"/org/a11y/bus"_s);
    m_bus.unregisterObject(rootPath);
    m_bus.unregisterObject(keysPath);
    m_bus.unregisterObject(eventsPath);
}

bool ScreenReader::open(const QString& busAddress) {
    new BusFace(m_accessibilityBus, busAddress);
    new StatusFace(m_accessibilityBus);
    return m_bus.registerObject(u"/org/a11y/bus"_s, m_accessibilityBus) &&
           m_bus.registerObject(rootPath, m_registry, QDBusConnection::ExportAllSlots) &&
           m_bus.registerObject(eventsPath, m_events, QDBusConnection::ExportAllSlots) &&
           m_bus.registerVirtualObject(keysPath, m_keys) &&
           m_bus.connect({}, {}, u"org.a11y.atspi.Event.Object"_s, u"StateChanged"_s, this,
                         SLOT(onStateChanged(QDBusMessage))) &&
           m_bus.registerService(registryName) && m_bus.registerService(busName);
}

void ScreenReader::takeProgram(const QString& service) {
    // The process that plays the desktop has windows of its own.
    if (m_bus.interface()->servicePid(service).value() == QCoreApplication::applicationPid()) {
        return;
    }
    m_program = service;
    forget();
}

void ScreenReader::onStateChanged(const QDBusMessage& news) {
    const QVariantList arguments = news.arguments();
    const bool isShown = arguments.value(0).toString() == u"showing"_s && arguments.value(1).toInt() == 1;
    if (isShown && news.service() == m_program) {
        m_timesShown[news.path()] += 1;
    }
}

void ScreenReader::refresh() {
    if (m_walk || m_program.isEmpty()) {
        return;
    }
    m_walk = std::make_shared<Walk>();
    m_walk->found.emplace_back();
    visit(m_walk, rootPath, 0);
}

void ScreenReader::forget() {
    m_walk.reset();
    m_elements.clear();
}

std::optional<ScreenElement> ScreenReader::find(const QString& role, const QString& name) const {
    const auto found = std::find_if(m_elements.begin(), m_elements.end(), [&](const ScreenElement& element) {
        return element.showing && element.role == role && element.name == name;
    });
    return found == m_elements.end() ? std::nullopt : std::optional(*found);
}

bool ScreenReader::reads(const QString& words) const {
    return std::any_of(m_elements.begin(), m_elements.end(), [&](const ScreenElement& element) {
        return element.showing && (element.name.contains(words) || element.text.contains(words));
    });
}

void ScreenReader::press(const ScreenElement& element) {
    auto call = QDBusMessage::createMethodCall(m_program, element.path, u"org.a11y.atspi.Action"_s, u"DoAction"_s);
    call.setArguments({0});
    m_bus.asyncCall(call);
}

void ScreenReader::visit(const std::shared_ptr<Walk>& walk, const QString& path, std::size_t slot) {
    auto& element = walk->found[slot].element;
    element.path = path;
    ask(walk, path, u"org.freedesktop.DBus.Properties"_s, u"Get"_s, {accessible, u"Name"_s},
        [&element](const QVariantList& answer) {
            element.name = answer.value(0).value<QDBusVariant>().variant().toString();
        });
    ask(walk, path, accessible, u"GetRoleName"_s, {},
        [&element](const QVariantList& answer) { element.role = answer.value(0).toString(); });
    ask(walk, path, accessible, u"GetState"_s, {}, [&element](const QVariantList& answer) {
        const auto states = qdbus_cast<QList<uint>>(answer.value(0));
        element.enabled = hasState(states, enabledState);
        element.showing = hasState(states, showingState);
    });
    ask(walk, path, u"org.a11y.atspi.Text"_s, u"GetText"_s, {0, -1},
        [&element](const QVariantList& answer) { element.text = answer.value(0).toString(); });
    ask(walk, path, accessible, u"GetChildren"_s, {}, [this, walk, slot](const QVariantList& answer) {
        for (const Reference& child : qdbus_cast<QList<Reference>>(answer.value(0))) {
            const std::size_t childSlot = walk->found.size();
            walk->found.emplace_back();
            walk->found[slot].children.push_back(childSlot);
            visit(walk, child.path.path(), childSlot);
        }
    });
}

void ScreenReader::ask(const std::shared_ptr<Walk>& walk, const QString& path, const QString& interface,
                       const QString& method, const QVariantList& arguments,
                       std::function<void(const QVariantList&)> then) {
    auto call = QDBusMessage::createMethodCall(m_program, path, interface, method);
    call.setArguments(arguments);
    walk->pending += 1;
    callThen(m_bus, call, this, [this, walk, then = std::move(then)](const QVariantList& answer) {
        then(answer);
        walk->pending -= 1;
        if (walk->pending == 0 && walk == m_walk) {
            finish();
        }
    });
}

void ScreenReader::finish() {
    m_elements.clear();
    m_walk->collect(0, m_elements);
    m_walk.reset();
    Q_EMIT refreshed();
}

} // namespace orvanel::standin

#include "ScreenReader.moc"
