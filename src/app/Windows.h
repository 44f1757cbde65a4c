#pragma once

#include <QHash>
#include <QPointer>
#include <QWidget>

#include <functional>

namespace orvanel {

using namespace Qt::StringLiterals;

namespace windowId {
inline QString main() {
    return u"main"_s;
}
inline QString logs() {
    return u"logs"_s;
}
inline QString settings() {
    return u"settings"_s;
}
} // namespace windowId

/// The program's windows, by id. Each is made when it is first asked for, exists only once, and is deleted when it is
/// closed.
class Windows final {
public:
    using Factory = std::function<QWidget*()>;

    Windows() = default;
    ~Windows();
    Windows(const Windows&) = delete;
    Windows& operator=(const Windows&) = delete;

    void add(const QString& id, const Factory& make);

    /// Opens the window or brings the open one to the front, and activates the program. The token is the one that the
    /// desktop gave for this; without it the desktop may only draw attention to the window.
    QWidget* open(const QString& id, const QString& activationToken = {});
    /// The open window, or nullptr.
    QWidget* find(const QString& id) const;
    /// The open window that has the user's attention, or nullptr.
    QWidget* active() const;

    /// Closes all windows and opens no others, because the program is quitting.
    void closeForGood();

private:
    QHash<QString, Factory> m_factories;
    QHash<QString, QPointer<QWidget>> m_windows;
};

} // namespace orvanel
