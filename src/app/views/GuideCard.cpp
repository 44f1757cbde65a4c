#include "app/views/GuideCard.h"

#include "app/widgets/ButtonRow.h"
#include "app/widgets/Buttons.h"
#include "app/widgets/Focus.h"
#include "app/widgets/TextField.h"
#include "controller/KumaController.h"
#include "platform/Desktop.h"

#include <QKeyEvent>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr int fieldWidth = 180;
/// Typing ends this long after the last key.
constexpr std::chrono::seconds typingPause{2};

const char* const steps[] = {
    "1. Open the dashboard and create the admin account.",
    "2. Add your monitors.",
    "3. Create a status page, choose a slug, and add the monitors to it.",
};

} // namespace

GuideCard::GuideCard(ViewContext context, QWidget* parent)
    : Card(u"Show my monitors here"_s, parent)
    , m_context(context)
    , m_explanation(makeExplanation())
    , m_slug(makeField()) {
    auto* label = new TextLabel(TextStyle::body, u"4. Enter the slug:"_s);
    label->setWordWrap(false);
    auto* row = new QHBoxLayout;
    row->setSpacing(spacing::related);
    row->addWidget(label);
    row->addWidget(m_slug);
    row->addStretch();
    column()->addWidget(m_explanation);
    column()->addLayout(row);
}

QWidget* GuideCard::makeExplanation() {
    auto* explanation = new QWidget;
    auto* lines = new QVBoxLayout(explanation);
    lines->setContentsMargins({});
    lines->setSpacing(spacing::parts);
    lines->addWidget(new TextLabel(TextStyle::title3, u"Show my monitors here"_s));
    lines->addWidget(new TextLabel(TextStyle::callout,
                                   u"Uptime Kuma keeps monitors behind a login, and this app never asks for "
                                   "your password. It can only read monitors that are on a public status "
                                   "page."_s));
    auto* list = new QVBoxLayout;
    list->setSpacing(spacing::lines);
    for (const char* step : steps) {
        list->addWidget(new TextLabel(TextStyle::body, QString::fromLatin1(step)));
    }
    lines->addLayout(list);
    auto* row = new ButtonRow;
    lines->addLayout(row);
    m_openDashboard = addButton(row, u"Open dashboard"_s, [context = m_context] {
        context.desktop.openAddress(context.controller.dashboardURL());
    });
    return explanation;
}

TextField* GuideCard::makeField() {
    auto* field = new TextField(u"Status page slug"_s);
    field->setFixedWidth(fieldWidth);
    field->setPlaceholderText(u"my-slug"_s);
    field->installEventFilter(this);
    connect(field, &TextField::changedByUser, this, [this](const QString& text) {
        onTyped();
        m_context.controller.setSlug(text);
    });
    return field;
}

void GuideCard::render() {
    setUsable(m_openDashboard, m_context.controller.state().kuma == KumaState::running);
    m_slug->showValue(m_context.controller.state().slug);
}

void GuideCard::setExplained(bool explained) {
    setShown(m_explanation, explained);
}

void GuideCard::onTyped() {
    m_isBeingTypedIn = true;
    m_pause = m_context.clock.callAfter(typingPause, [this] { endTyping(); });
}

/// A text that is still being composed is never cut off, however long its characters are looked for.
void GuideCard::onComposed(const QInputMethodEvent& event) {
    onTyped();
    if (!event.preeditString().isEmpty()) {
        m_pause.reset();
    }
}

/// Queued, because the field may be deleted now, and it may be the one handling a key or the focus; so may the timer.
void GuideCard::endTyping() {
    const auto end = [this] {
        m_isBeingTypedIn = false;
        m_pause.reset();
        Q_EMIT typingEnded();
    };
    QMetaObject::invokeMethod(this, end, Qt::QueuedConnection);
}

/// Return in the field ends the typing and presses no button.
bool GuideCard::isHandledKey(const QKeyEvent& event) {
    if (event.key() != Qt::Key_Return && event.key() != Qt::Key_Enter) {
        return false;
    }
    endTyping();
    return true;
}

bool GuideCard::eventFilter(QObject* watched, QEvent* event) {
    if (watched == m_slug && event->type() == QEvent::KeyPress) {
        if (isHandledKey(*static_cast<QKeyEvent*>(event))) {
            return true;
        }
        onTyped();
    }
    if (watched == m_slug && event->type() == QEvent::InputMethod) {
        onComposed(*static_cast<QInputMethodEvent*>(event));
    }
    if (watched == m_slug && event->type() == QEvent::FocusOut) {
        const Qt::FocusReason reason = static_cast<QFocusEvent*>(event)->reason();
        // Another window or the field's own menu takes the focus only for a while.
        if (reason == Qt::ActiveWindowFocusReason || reason == Qt::PopupFocusReason) {
            m_pause.reset();
        } else {
            endTyping();
        }
    }
    if (watched == m_slug && event->type() == QEvent::FocusIn && m_isBeingTypedIn) {
        onTyped();
    }
    return Card::eventFilter(watched, event);
}

} // namespace orvanel
