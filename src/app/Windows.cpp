#include "app/Windows.h"

#include <QApplication>
#include <QDialog>

#include <utility>

#ifdef __GLIBC__
#include <malloc.h>
#endif

namespace orvanel {
namespace {

constexpr char tokenVariable[] = "XDG_ACTIVATION_TOKEN";

/// What gets the keys: the question over the window, or else the window.
QWidget* foremost(QWidget* window) {
    for (QDialog* dialog : window->findChildren<QDialog*>()) {
        // For the desktop's own dialogs Qt has only a stand-in here, which is never visible.
        if (dialog->isVisible() && dialog->isModal() && !dialog->testAttribute(Qt::WA_DontShowOnScreen)) {
            return foremost(dialog);
        }
    }
    return window;
}

/// A closed window frees many small pieces of memory, which the C library would keep for this program.
void returnFreeMemory() {
#ifdef __GLIBC__
    ::malloc_trim(0);
#endif
}

/// Qt reads the token from the environment when a window that is already shown is activated.
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
    // Child processes and later windows must not use the same token.
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
        QObject::connect(window, &QObject::destroyed, qApp, &returnFreeMemory, Qt::QueuedConnection);
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
