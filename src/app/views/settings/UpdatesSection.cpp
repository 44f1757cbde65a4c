#include "app/views/settings/UpdatesSection.h"

#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/Focus.h"
#include "app/widgets/LinkButton.h"
#include "controller/ImageTag.h"
#include "controller/KumaController.h"
#include "platform/Desktop.h"
#include "platform/ShortText.h"

#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {

namespace {

constexpr qsizetype longestShownTag = 40;

/// An older version cannot read a database that a newer one has converted.
bool isOlder(const ControllerState& state) {
    return state.latestVersion && isOlderVersion(*state.latestVersion, state.imageTag);
}

/// A release that is not offered needs no warning.
bool warnsOfMajorChange(const KumaController& controller) {
    return controller.majorChange() && !isOlder(controller.state());
}

} // namespace

bool canUpdate(const ControllerState& state) {
    return state.latestVersion && *state.latestVersion != state.imageTag && !isOlder(state) && !operationShown(state) &&
           state.dockerState == DockerState::ready;
}

bool canGoBack(const ControllerState& state) {
    return state.wayBackTag && !operationShown(state) && state.dockerState == DockerState::ready;
}

UpdatesSection::UpdatesSection(ViewContext context, QWidget* parent)
    : SettingsSection(u"Updates"_s, parent)
    , m_context(context)
    , m_releaseNotes(nullptr) {
    m_pinned = addText(TextStyle::body);
    m_newest = addText(TextStyle::body);
    m_message = addText(TextStyle::body);
    m_message->setMeaning(Meaning::pending);
    m_majorChange = addText(TextStyle::caption, u"This is a major version change and may need Uptime Kuma's own "
                                                "migration. Read the release notes first."_s);
    m_majorChange->setMeaning(Meaning::pending);
    addCaption(u"Update backs up your data first, changes the pinned tag, pulls the new image and "
               "restarts. Your data folder is never touched."_s);

    ButtonRow* row = addButtonRow();
    m_check = addButton(row, u"Check for updates"_s, [context] { context.controller.checkForUpdates(); });
    m_update = addButton(row, u"Update"_s, [context] { context.controller.updateNow(); });
    m_goBack = addButton(row, {}, [context] { context.controller.goBack(); });
    auto* link = new LinkButton(u"Release notes"_s);
    connect(link, &LinkButton::clicked, this,
            [context] { context.desktop.openAddress(context.controller.state().releaseURL.value_or(QUrl())); });
    row->addWidget(link);
    m_releaseNotes = link;
}

void UpdatesSection::render() {
    const ControllerState& state = m_context.controller.state();
    renderTexts();
    renderCheckButton();
    setUsable(m_update, canUpdate(m_context.controller.state()));
    if (state.wayBackTag) {
        setButtonText(m_goBack, u"Go back to %1…"_s.arg(shortened(*state.wayBackTag, longestShownTag)));
    }
    setShown(m_goBack, state.wayBackTag.has_value());
    setUsable(m_goBack, canGoBack(state));
    setShown(m_releaseNotes, state.releaseURL.has_value());
}

void UpdatesSection::renderTexts() {
    const KumaController& controller = m_context.controller;
    m_pinned->setOutsideText(u"Pinned image: "_s + controller.imageReference());
    m_newest->setOutsideText(u"Newest release: "_s + controller.state().latestVersion.value_or(u"not checked yet"_s));
    const std::optional<QString> message = controller.state().updateMessage;
    m_message->setOutsideText(message.value_or(QString()));
    m_message->setVisible(message.has_value());
    m_majorChange->setVisible(warnsOfMajorChange(controller));
    describeCheck();
}

/// Tells screen readers, whose focus is on the button, how the last check ended.
void UpdatesSection::describeCheck() {
    const KumaController& controller = m_context.controller;
    QStringList outcome;
    if (const std::optional<QString> message = controller.state().updateMessage) {
        outcome << *message;
    } else if (controller.state().latestVersion) {
        outcome << m_newest->accessibleName();
    }
    if (warnsOfMajorChange(controller)) {
        outcome << m_majorChange->text();
    }
    const QString description = outcome.join(u'\n');
    if (m_check->accessibleDescription() != description) {
        m_check->setAccessibleDescription(description);
    }
}

/// A button that is disabled loses the focus. It gets it back afterwards unless the user has moved on meanwhile.
void UpdatesSection::renderCheckButton() {
    const bool isEnabled = !m_context.controller.state().checkingUpdate;
    if (isEnabled == m_check->isEnabled()) {
        return;
    }
    const bool hadFocus = m_check->hasFocus();
    setUsable(m_check, isEnabled);
    if (hadFocus) {
        m_focusMeanwhile = window()->focusWidget();
    } else if (isEnabled && m_focusMeanwhile != nullptr) {
        if (window()->focusWidget() == m_focusMeanwhile) {
            m_check->setFocus();
        }
        m_focusMeanwhile = nullptr;
    }
}

} // namespace orvanel
