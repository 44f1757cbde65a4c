#include "app/views/settings/ServerSection.h"

#include "app/views/settings/PortText.h"
#include "controller/KumaController.h"

#include <QAction>
#include <QLineEdit>

using namespace Qt::StringLiterals;

namespace orvanel {

ServerSection::ServerSection(ViewContext context, QWidget* parent)
    : SettingsSection(u"Uptime Kuma"_s, parent)
    , m_context(context) {
    m_port = addField(u"Port"_s);
    m_port->setInputMethodHints(Qt::ImhDigitsOnly);
    connect(m_port, &QLineEdit::textEdited, this, &ServerSection::onPortEdited);
    connect(m_port, &QLineEdit::editingFinished, this, &ServerSection::onPortEditingFinished);
    auto* forget = new QAction(m_port);
    forget->setShortcut(Qt::Key_Escape);
    forget->setShortcutContext(Qt::WidgetShortcut);
    connect(forget, &QAction::triggered, this, &ServerSection::forgetTypedPort);
    m_port->QWidget::addAction(forget);
    m_portHint = addText(TextStyle::caption);
    m_portHint->setMeaning(Meaning::pending);
    m_portHint->hide();
    addCaption(u"Press Start or Restart after changing the port. The container is only reachable from "
               "this Mac."_s);

    addDivider();
    m_slug = addField(u"Status page slug"_s);
    connect(m_slug, &QLineEdit::textEdited, this, [context](const QString& text) { context.controller.setSlug(text); });
    addCaption(u"The slug of a status page you created in the dashboard. Used to show your monitors "
               "here."_s);
}

void ServerSection::render() {
    const int port = m_context.controller.state().port;
    // Half-typed digits stay, unless the port was changed elsewhere.
    if (port != m_storedPort) {
        m_storedPort = port;
        m_agreedPort = port;
        showPort(port);
    }
    // An operation may be starting the server on it: what was there before is past.
    if (m_context.controller.state().busy) {
        m_agreedPort = port;
    }
    showInField(m_slug, m_context.controller.state().slug);
}

/// As long as the text is a port it is the setting; otherwise the setting is what it was before.
void ServerSection::onPortEdited(const QString& text) {
    const std::optional<int> port = portFrom(text);
    storePort(port.value_or(m_agreedPort));
    setPortHint(!port && !mayBecomePort(text));
}

void ServerSection::onPortEditingFinished() {
    const std::optional<int> port = portFrom(m_port->text());
    if (!port) {
        setPortHint(true);
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
        m_context.controller.setPort(port);
    }
}

void ServerSection::showPort(int port) {
    showInField(m_port, QString::number(port));
    setPortHint(false);
}

void ServerSection::setPortHint(bool isShown) {
    const QString hint =
        isShown ? u"This is no port to use: type a number from %1 to %2. Until then the port stays %3."_s.arg(
                      QString::number(lowestPort), QString::number(highestPort), QString::number(m_agreedPort))
                : QString();
    m_portHint->setContent(hint);
    m_portHint->setVisible(isShown);
    m_port->setAccessibleDescription(hint);
}

} // namespace orvanel
