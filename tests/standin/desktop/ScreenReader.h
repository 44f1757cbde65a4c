#pragma once

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVirtualObject>
#include <QHash>
#include <QList>
#include <QObject>

#include <functional>
#include <memory>
#include <optional>

namespace orvanel::standin {

/// One thing in a window, as the program describes it to people who cannot see it.
struct ScreenElement {
    QString path;
    QString name;
    /// For example "push button", "label" or "text".
    QString role;
    /// The text in it, if it has one of its own, such as that of a log.
    QString text;
    bool enabled = false;
    /// False if it exists but is hidden.
    bool showing = false;
};

/// Reads the windows of one program and presses its buttons, as a screen reader does (AT-SPI 2). It plays the
/// accessibility bus and its registry on the given bus, and reads the program that registers last, other than this
/// process itself.
class ScreenReader final : public QObject {
    Q_OBJECT

public:
    explicit ScreenReader(QDBusConnection bus, QObject* parent = nullptr);
    ~ScreenReader() override;

    /// Takes the names on the bus. Call it before the program starts. False if there is another accessibility bus.
    [[nodiscard]] bool open(const QString& busAddress);

    /// Starts to read everything again, unless that is under way.
    void refresh();
    /// Makes elements() empty until everything has been read once more.
    void forget();
    /// What the last complete reading found, in the reading order that the program gives.
    QList<ScreenElement> elements() const { return m_elements; }
    /// The first visible element with this role and name.
    std::optional<ScreenElement> find(const QString& role, const QString& name) const;
    /// Whether a visible name or text contains `words`.
    bool reads(const QString& words) const;

    /// How often a program has announced that this element came into view.
    int timesShown(const ScreenElement& element) const { return m_timesShown.value(element.path); }

    /// Does the element's first action, such as pressing a button.
    void press(const ScreenElement& element);

    /// Called by the objects on the bus.
    void takeProgram(const QString& service);

Q_SIGNALS:
    void refreshed();

private:
    struct Walk;

    Q_SLOT void onStateChanged(const QDBusMessage& news);
    void visit(const std::shared_ptr<Walk>& walk, const QString& path, std::size_t slot);
    void ask(const std::shared_ptr<Walk>& walk, const QString& path, const QString& interface, const QString& method,
             const QVariantList& arguments, std::function<void(const QVariantList&)> then);
    void finish();

    QDBusConnection m_bus;
    QObject* const m_accessibilityBus;
    QObject* const m_registry;
    QObject* const m_events;
    QDBusVirtualObject* const m_keys;
    QString m_program;
    QHash<QString, int> m_timesShown;
    QList<ScreenElement> m_elements;
    std::shared_ptr<Walk> m_walk;
};

} // namespace orvanel::standin
