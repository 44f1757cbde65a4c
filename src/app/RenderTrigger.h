#pragma once

#include <QObject>

#include <functional>

namespace orvanel {

class KumaController;

/// Calls a view's render when the controller's state has changed: at most once per turn of the event loop, however
/// often the state changed in it, and never while the view is hidden.
class RenderTrigger final : public QObject {
    Q_OBJECT

public:
    /// The trigger is inactive at first.
    RenderTrigger(const KumaController& controller, std::function<void()> render);

    /// Activating it renders at once if the state has changed meanwhile.
    void setActive(bool active);

protected:
    bool event(QEvent* event) override;

private:
    void onChanged();
    void renderNow();

    const std::function<void()> m_render;
    bool m_active = false;
    bool m_stale = true;
    bool m_posted = false;
};

} // namespace orvanel
