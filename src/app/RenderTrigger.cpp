#include "app/RenderTrigger.h"

#include "controller/KumaController.h"

#include <QCoreApplication>
#include <QEvent>

namespace orvanel {
namespace {

QEvent::Type renderEvent() {
    static const auto type = static_cast<QEvent::Type>(QEvent::registerEventType());
    return type;
}

} // namespace

RenderTrigger::RenderTrigger(const KumaController& controller, std::function<void()> render)
    : m_render(std::move(render)) {
    connect(&controller, &KumaController::changed, this, &RenderTrigger::onChanged);
}

void RenderTrigger::setActive(bool active) {
    m_active = active;
    if (active && m_stale) {
        renderNow();
    }
}

void RenderTrigger::onChanged() {
    m_stale = true;
    if (m_active && !m_posted) {
        m_posted = true;
        // Low priority, because the events before it may change more.
        QCoreApplication::postEvent(this, new QEvent(renderEvent()), Qt::LowEventPriority);
    }
}

bool RenderTrigger::event(QEvent* event) {
    if (event->type() != renderEvent()) {
        return QObject::event(event);
    }
    m_posted = false;
    if (m_active && m_stale) {
        renderNow();
    }
    return true;
}

void RenderTrigger::renderNow() {
    // Before rendering, so that a change made meanwhile is rendered too.
    m_stale = false;
    m_render();
}

} // namespace orvanel
