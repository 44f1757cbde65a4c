#pragma once

#include "app/views/View.h"

#include <QPointer>

#include <optional>

class QLayout;
class QScrollArea;

namespace orvanel {

class ButtonRow;
class GuideCard;
class MonitorList;
class StatusErrorCard;

/// Adds the menu "Backup" of the dashboard and the start card.
void addBackupMenu(QLayout* layout, const ViewContext& context);

/// The view while Uptime Kuma is starting or running: its controls, and what is known of the monitors.
class DashboardView final : public View {
    Q_OBJECT

public:
    explicit DashboardView(ViewContext context, QWidget* parent = nullptr);

    void render() override;
    QPushButton* defaultButton() const override { return m_openDashboard; }

private:
    ButtonRow* makeControls();
    void showList(bool shown);
    void hideList(QScrollArea* area);
    void bringListBack(QScrollArea* area);

    ViewContext m_context;
    QPushButton* m_openDashboard = nullptr;
    View* m_startingCard;
    GuideCard* m_guide;
    StatusErrorCard* m_statusError;
    MonitorList* m_monitors;

    /// The state in which the list was hidden, and where the window was scrolled to afterwards.
    struct LeftList {
        int scrolledTo;
        int scrolledToWithout;
        QPointer<QWidget> focused;
    };
    std::optional<LeftList> m_left;
};

} // namespace orvanel
