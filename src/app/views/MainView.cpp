#include "app/views/MainView.h"

#include "app/views/BusyCard.h"
#include "app/views/DashboardView.h"
#include "app/views/DockerMissingCard.h"
#include "app/views/DockerNotRunningCard.h"
#include "app/views/ErrorCard.h"
#include "app/views/PullCard.h"
#include "app/views/StartCard.h"
#include "app/widgets/Divider.h"
#include "app/widgets/Dot.h"
#include "app/widgets/TextLabel.h"
#include "controller/KumaController.h"

#include <QHBoxLayout>
#include <QScrollArea>

namespace orvanel {
namespace {

constexpr int dotDiameter = 12;

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

    auto* area = new QScrollArea;
    area->setAccessibleName(QStringLiteral("Uptime Kuma"));
    area->setFrameShape(QFrame::NoFrame);
    area->setWidgetResizable(true);
    area->setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area->setWidget(content);
    return area;
}

void MainView::showEvent(QShowEvent* event) {
    View::showEvent(event);
    m_trigger.setActive(true);
}

void MainView::hideEvent(QHideEvent* event) {
    View::hideEvent(event);
    m_trigger.setActive(false);
}

QPushButton* MainView::defaultButton() const {
    return m_card != nullptr ? m_card->defaultButton() : nullptr;
}

void MainView::render() {
    renderHeader();
    renderCard();
    renderError();
}

void MainView::renderHeader() {
    const Health health = m_context.controller.health();
    m_dot->setState(meaningOf(health), spokenHealth(health));
    m_statusLine->setContent(m_context.controller.statusLine());
}

void MainView::renderCard() {
    const KumaController& controller = m_context.controller;
    const StateCard kind =
        stateCardFor(controller.dockerState(), controller.pulling(), controller.busy(), controller.kuma());
    if (kind != m_kind) {
        // Deleted later: a button of the old card may be what brought us here.
        if (m_card != nullptr) {
            m_card->hide();
            m_card->deleteLater();
        }
        m_kind = kind;
        m_card = makeCard(kind);
        m_column->insertWidget(0, m_card);
    }
    m_card->render();
}

void MainView::renderError() {
    const bool hasError = m_context.controller.error().has_value();
    if (hasError && m_errorCard == nullptr) {
        m_errorCard = new ErrorCard(m_context);
        m_column->insertWidget(1, m_errorCard);
    }
    if (m_errorCard == nullptr) {
        return;
    }
    if (hasError) {
        m_errorCard->render();
    }
    m_errorCard->setVisible(hasError);
}

View* MainView::makeCard(StateCard kind) const {
    switch (kind) {
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
