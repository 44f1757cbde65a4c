#pragma once

#include <QObject>

#include <functional>

namespace orvanel {

class KumaController;

/// Calls a view's render when the controller's state has changed: at most once per turn of the event loop, however many
/// properties changed in it, and not at all while the view is not seen.
class RenderTrigger final : public QObject {
    Q_OBJECT

public:
    /// Inactive at first.
    RenderTrigger(const KumaController& controller, std::function<void()> render);

    /// Becoming active renders at once what has changed meanwhile.
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
