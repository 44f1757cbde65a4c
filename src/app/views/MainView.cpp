#include "app/views/MainView.h"

#include "app/views/DashboardView.h"
#include "app/views/DockerCards.h"
#include "app/views/ErrorCard.h"
#include "app/views/GuideView.h"
#include "app/widgets/Drawings.h"
#include "app/widgets/Focus.h"
#include "app/widgets/TextLabel.h"
#include "controller/KumaController.h"

#include <QAccessible>
#include <QHBoxLayout>
#include <QPushButton>
#include <QScrollArea>
#include <QScrollBar>
#include <QShowEvent>

#include <utility>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

constexpr int dotDiameter = 12;

bool canBeFocused(const QWidget* widget) {
    return widget->focusPolicy() != Qt::NoFocus;
}

/// The last widget that can ever have the focus, even if it is hidden or disabled now.
QWidget* lastToFocus(const QWidget* card) {
    QWidget* last = nullptr;
    for (QWidget* widget : card->findChildren<QWidget*>()) {
        if (canBeFocused(widget)) {
            last = widget;
        }
    }
    return last;
}

/// Screen readers announce what comes into view, but not what changes there.
void tellAgain(QWidget* notification) {
    for (const QAccessible::Event type : {QAccessible::ObjectHide, QAccessible::ObjectShow}) {
        QAccessibleEvent event(notification, type);
        QAccessible::updateAccessibility(&event);
    }
}

} // namespace

MainView::MainView(ViewContext context, QWidget* parent)
    : View(parent)
    , m_context(context)
    , m_trigger(context.controller, [this] { render(); }) {
    auto* column = new QVBoxLayout(this);
    column->setContentsMargins({});
    column->setSpacing(0);
    column->addWidget(makeHeader());
    column->addWidget(new Divider);
    column->addWidget(makeScrollArea(), 1);
}

QWidget* MainView::makeHeader() {
    m_dot = new Dot(dotDiameter);
    m_statusLine = new TextLabel(TextStyle::headline);
    auto* header = new QWidget;
    auto* row = new QHBoxLayout(header);
    row->setContentsMargins(spacing::padding, spacing::padding, spacing::padding, spacing::padding);
    row->setSpacing(spacing::related);
    row->addWidget(m_dot);
    row->addWidget(m_statusLine, 1);
    return header;
}

QScrollArea* MainView::makeScrollArea() {
    auto* content = new QWidget;
    m_column = new QVBoxLayout(content);
    m_column->setContentsMargins(spacing::padding, spacing::padding, spacing::padding, spacing::padding);
    m_column->setSpacing(spacing::items);
    m_column->addStretch();

    m_area = new QScrollArea;
    m_area->setAccessibleName(u"Uptime Kuma"_s);
    m_area->setFrameShape(QFrame::NoFrame);
    m_area->setWidgetResizable(true);
    m_area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    m_area->setWidget(content);
    return m_area;
}

void MainView::showEvent(QShowEvent* event) {
    View::showEvent(event);
    m_trigger.setActive(true);
    if (!event->spontaneous() && !m_context.controller.state().hasSeenGuide && m_guide.isNull()) {
        // The guide covers the window, which must be there first.
        QMetaObject::invokeMethod(this, &MainView::showGuide, Qt::QueuedConnection);
    }
}

void MainView::showGuide() {
    if (!isVisible() || !m_guide.isNull()) {
        return;
    }
    m_guide = new GuideView(window());
    m_guide->setAttribute(Qt::WA_DeleteOnClose);
    connect(m_guide, &QDialog::finished, this, [this] { m_context.controller.setHasSeenGuide(true); });
    m_guide->open();
}

void MainView::hideEvent(QHideEvent* event) {
    View::hideEvent(event);
    m_trigger.setActive(false);
}

QPushButton* MainView::defaultButton() const {
    return m_card != nullptr ? m_card->defaultButton() : nullptr;
}

void MainView::render() {
    const std::optional<StateCard> before = m_kind;
    renderHeader();
    renderCard();
    // The card of an operation makes room for one that may be much longer.
    renderError(before == StateCard::busy && m_kind != before);
}

void MainView::renderHeader() {
    const Health health = m_context.controller.health();
    m_dot->setState(meaningOf(health), spokenHealth(health));
    m_statusLine->setContent(m_context.controller.statusLine());
}

void MainView::renderCard() {
    const StateCard kind = stateCardFor(m_context.controller.state());
    if (kind != m_kind) {
        replaceCard(kind);
    } else {
        m_card->render();
    }
}

/// The new card is complete before it is shown.
void MainView::replaceCard(StateCard kind) {
    View* const old = m_card;
    m_kind = kind;
    m_card = makeCard(kind);
    m_card->render();
    m_column->insertWidget(0, m_card);
    if (old != nullptr) {
        const QPushButton* const checkAgain = old->checkAgainButton();
        m_returnsToCheckAgain = m_returnsToCheckAgain || (checkAgain != nullptr && checkAgain->hasFocus());
        hideSafely(old);
        // Deleted later, because one of its buttons may have been pressed to get here.
        old->deleteLater();
    }
    m_card->show();
    putErrorLast();
    m_area->verticalScrollBar()->setValue(0);
    m_column->activate();
    returnToCheckAgain();
}

/// The card of "Check again" makes room for another while Docker is asked. If it comes back, so does the focus, unless
/// the user has moved it meanwhile.
void MainView::returnToCheckAgain() {
    if (!m_returnsToCheckAgain || m_context.controller.state().dockerState == DockerState::unknown) {
        return;
    }
    m_returnsToCheckAgain = false;
    QPushButton* const checkAgain = m_card->checkAgainButton();
    if (checkAgain != nullptr && window()->focusWidget() == m_area) {
        checkAgain->setFocus(Qt::OtherFocusReason);
    }
}

/// Tab and screen readers follow the order in which widgets were made, not where they stand.
void MainView::putErrorLast() {
    if (m_errorCard == nullptr) {
        return;
    }
    m_errorCard->raise();
    QWidget* last = lastToFocus(m_card);
    for (QWidget* widget : m_errorCard->findChildren<QWidget*>()) {
        if (last != nullptr && canBeFocused(widget)) {
            setTabOrder(last, widget);
            last = widget;
        }
    }
}

void MainView::renderError(bool bringsIntoView) {
    const std::optional<OpError> error = m_context.controller.state().error;
    if (error && m_errorCard == nullptr) {
        m_errorCard = new ErrorCard(m_context);
        m_column->insertWidget(1, m_errorCard);
    }
    if (m_errorCard == nullptr) {
        return;
    }
    const std::optional<OpError> before = std::exchange(m_error, error);
    if (error) {
        m_errorCard->render();
    } else {
        m_errorCard->forget();
    }
    setShown(m_errorCard, error.has_value());
    if (error && (error != before || bringsIntoView)) {
        layOutNow(m_area);
        m_area->ensureWidgetVisible(m_errorCard, 0, spacing::padding);
    }
    if (error && before && error != before) {
        tellAgain(m_errorCard);
    }
}

View* MainView::makeCard(StateCard kind) const {
    switch (kind) {
    case StateCard::setup:
        return new SetupCard(m_context);
    case StateCard::dockerMissing:
        return new DockerMissingCard(m_context);
    case StateCard::dockerNotRunning:
        return new DockerNotRunningCard(m_context);
    case StateCard::pull:
        return new PullCard(m_context);
    case StateCard::busy:
        return new BusyCard(m_context);
    case StateCard::start:
        return new StartCard(m_context);
    case StateCard::dashboard:
        return new DashboardView(m_context);
    }
    Q_UNREACHABLE();
}

} // namespace orvanel
