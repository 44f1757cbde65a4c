#include "app/views/settings/ServerSection.h"

#include "controller/KumaController.h"

#include <QAction>
#include <QLineEdit>

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
    // A half-typed port stays, unless the setting was changed elsewhere.
    if (port != m_storedPort) {
        m_storedPort = port;
        m_agreedPort = port;
        showPort(port);
    }
    // An operation may be starting the server on this port, so there is no going back to the one before.
    if (m_context.controller.state().busy) {
        m_agreedPort = port;
    }
    showInField(m_slug, m_context.controller.state().slug);
}

/// While the text is a valid port, it is the setting. Otherwise the setting is what it was before.
void ServerSection::onPortEdited(const QString& text) {
    const std::optional<int> port = portFrom(text);
    storePort(port.value_or(m_agreedPort));
    if (port || mayBecomePort(text)) {
        hidePortHint();
    } else {
        showPortHint();
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
        m_context.controller.setPort(port);
    }
}

void ServerSection::showPort(int port) {
    showInField(m_port, QString::number(port));
    hidePortHint();
}

void ServerSection::showPortHint() {
    const QString hint =
        u"Enter a port from %1 to %2. Until then, %3 is kept."_s.arg(lowestPort).arg(highestPort).arg(m_agreedPort);
    m_portHint->setContent(hint);
    m_portHint->show();
    m_port->setAccessibleDescription(hint);
}

void ServerSection::hidePortHint() {
    m_portHint->hide();
    m_port->setAccessibleDescription({});
}

} // namespace orvanel
