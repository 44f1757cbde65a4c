#include "app/views/settings/ServerSection.h"

#include "app/widgets/TextField.h"
#include "controller/KumaController.h"

#include <QAction>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr qsizetype mostDigits = 5;

bool isDigits(const QString& text) {
    return text.size() <= mostDigits &&
           std::all_of(text.begin(), text.end(), [](QChar c) { return u'0' <= c && c <= u'9'; });
}

} // namespace

std::optional<int> portFrom(const QString& typed) {
    const QString digits = typed.trimmed();
    if (digits.isEmpty() || !isDigits(digits)) {
        return std::nullopt;
    }
    const int port = digits.toInt();
    return lowestPort <= port && port <= highestPort ? std::optional(port) : std::nullopt;
}

bool mayBecomePort(const QString& typed) {
    const QString digits = typed.trimmed();
    return digits.size() < mostDigits && isDigits(digits);
}

ServerSection::ServerSection(ViewContext context, QWidget* parent)
    : SettingsSection(u"Uptime Kuma"_s, parent)
    , m_context(context) {
    m_port = addField(u"Port"_s);
    m_port->setInputMethodHints(Qt::ImhDigitsOnly);
    connect(m_port, &TextField::changedByUser, this, &ServerSection::onPortEdited);
    connect(m_port, &QLineEdit::editingFinished, this, &ServerSection::onPortEditingFinished);
    // While there is nothing to forget, the key is the window's.
    m_forget = new QAction(m_port);
    m_forget->setShortcut(Qt::Key_Escape);
    m_forget->setShortcutContext(Qt::WidgetShortcut);
    m_forget->setEnabled(false);
    connect(m_forget, &QAction::triggered, this, &ServerSection::forgetTypedPort);
    m_port->QWidget::addAction(m_forget);
    m_portProblem = addProblem(m_port);
    addCaption(u"Press Start or Restart after changing the port. The container is only reachable from "
               "this Mac."_s);

    addDivider();
    m_slug = addField(u"Status page slug"_s);
    SettingProblem* const slugProblem = addProblem(m_slug);
    connect(m_slug, &TextField::changedByUser, this, [context, slugProblem](const QString& text) {
        slugProblem->showWhetherSaved(context.controller.setSlug(text));
    });
    addCaption(u"The slug of a status page you created in the dashboard. Used to show your monitors "
               "here."_s);
}

void ServerSection::render() {
    const int port = m_context.controller.state().port;
    // A half-typed port stays, unless the setting was changed elsewhere.
    if (port != m_storedPort) {
        m_storedPort = port;
        m_agreedPort = port;
        m_isPortSaved = true;
        showPort(port);
    }
    // An operation may be starting the server on this port, so there is no going back to the one before.
    if (m_context.controller.state().busy) {
        m_agreedPort = port;
    }
    m_slug->showValue(m_context.controller.state().slug);
}

/// While the text is a valid port, it is the setting. Otherwise the setting is what it was before.
void ServerSection::onPortEdited(const QString& text) {
    const std::optional<int> port = portFrom(text);
    storePort(port.value_or(m_agreedPort));
    m_forget->setEnabled(text != QString::number(m_agreedPort));
    if (port || mayBecomePort(text)) {
        hidePortHint();
    } else {
        showPortHint();
    }
    // Assistive technology sets the text without giving the field the focus, so nothing else ends the editing.
    if (!m_port->hasFocus()) {
        onPortEditingFinished();
    }
}

void ServerSection::onPortEditingFinished() {
    const std::optional<int> port = portFrom(m_port->text());
    if (!port) {
        showPortHint();
        return;
    }
    m_agreedPort = *port;
    showPort(*port);
}

void ServerSection::forgetTypedPort() {
    storePort(m_agreedPort);
    showPort(m_agreedPort);
}

void ServerSection::storePort(int port) {
    m_storedPort = port;
    if (port != m_context.controller.state().port) {
        m_isPortSaved = m_context.controller.setPort(port);
    }
}

void ServerSection::showPort(int port) {
    m_port->showValue(QString::number(port));
    m_forget->setEnabled(port != m_agreedPort);
    hidePortHint();
}

void ServerSection::showPortHint() {
    m_portProblem->showProblem(
        u"Enter a port from %1 to %2. Until then, %3 is kept."_s.arg(lowestPort).arg(highestPort).arg(m_agreedPort));
}

void ServerSection::hidePortHint() {
    m_portProblem->showWhetherSaved(m_isPortSaved);
}

} // namespace orvanel
