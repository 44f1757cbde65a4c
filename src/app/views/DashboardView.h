#pragma once

#include "app/views/View.h"

namespace orvanel {

class ButtonRow;
class GuideCard;
class MonitorList;
class StatusErrorCard;

/// Uptime Kuma is starting or running: its controls, and what is known of the monitors.
class DashboardView final : public View {
    Q_OBJECT

public:
    explicit DashboardView(ViewContext context, QWidget* parent = nullptr);

    void render() override;
    QPushButton* defaultButton() const override { return m_openDashboard; }

private:
    ButtonRow* makeControls();

    ViewContext m_context;
    QPushButton* m_openDashboard = nullptr;
    View* m_startingCard;
    GuideCard* m_guide;
    StatusErrorCard* m_statusError;
    MonitorList* m_monitors;
};

} // namespace orvanel
