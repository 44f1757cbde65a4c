#pragma once

#include "app/views/View.h"

class QVBoxLayout;

namespace orvanel {

class MonitorRowView;
class TextLabel;

/// The monitors of the status page, in its order.
class MonitorList final : public View {
    Q_OBJECT

public:
    explicit MonitorList(ViewContext context, QWidget* parent = nullptr);

    void render() override;

private:
    ViewContext m_context;
    TextLabel* m_title;
    TextLabel* m_emptyText;
    QVBoxLayout* m_rows;
    /// One for each monitor; reused for whatever monitor stands there.
    QList<MonitorRowView*> m_rowViews;
};

} // namespace orvanel
