#include "app/Windows.h"

#include <QDialog>

#include <utility>

namespace orvanel {
namespace {

constexpr char tokenVariable[] = "XDG_ACTIVATION_TOKEN";

/// What takes the keys: the question over the window, if there is one.
QWidget* foremost(QWidget* window) {
    for (QDialog* dialog : window->findChildren<QDialog*>()) {
        // Of the desktop's own dialogs there is only a stand-in here that is never seen.
        if (dialog->isVisible() && dialog->isModal() && !dialog->testAttribute(Qt::WA_DontShowOnScreen)) {
            return foremost(dialog);
        }
    }
    return window;
}

/// Qt takes the token from the environment, at the request to activate a window that is shown already.
void bringToFront(QWidget* window, const QString& activationToken) {
    if (!activationToken.isEmpty()) {
        qputenv(tokenVariable, activationToken.toUtf8());
    }
    window->setWindowState(window->windowState() & ~Qt::WindowMinimized);
    window->show();
    window->raise();
    QWidget* const front = foremost(window);
    front->raise();
    front->activateWindow();
    // Children, and later windows, must not take it for theirs.
    qunsetenv(tokenVariable);
}

} // namespace

Windows::~Windows() {
    for (const QPointer<QWidget>& window : std::as_const(m_windows)) {
        delete window.data();
    }
}

void Windows::add(const QString& id, const Factory& make) {
    m_factories.insert(id, make);
}

QWidget* Windows::open(const QString& id, const QString& activationToken) {
    QWidget* window = find(id);
    if (window == nullptr) {
        const Factory make = m_factories.value(id);
        if (!make) {
            return nullptr;
        }
        window = make();
        window->setAttribute(Qt::WA_DeleteOnClose);
        m_windows.insert(id, window);
    }
    bringToFront(window, activationToken);
    return window;
}

QWidget* Windows::find(const QString& id) const {
    const auto found = m_windows.constFind(id);
    if (found == m_windows.constEnd() || found->isNull()) {
        return nullptr;
    }
    // A closed window is deleted a moment later.
    QWidget* const window = found->data();
    return window->isVisible() ? window : nullptr;
}

QWidget* Windows::active() const {
    for (const QPointer<QWidget>& window : m_windows) {
        if (window != nullptr && window->isVisible() && window->isActiveWindow()) {
            return window;
        }
    }
    return nullptr;
}

void Windows::closeForGood() {
    m_factories.clear();
    for (const QPointer<QWidget>& window : std::as_const(m_windows)) {
        if (window != nullptr) {
            window->close();
        }
    }
}

} // namespace orvanel
