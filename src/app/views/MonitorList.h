#pragma once

#include "app/views/View.h"

namespace orvanel {

class MonitorRows;
class TextLabel;

/// The monitors of the status page, in its order, with the time of the last reading.
class MonitorList final : public View {
    Q_OBJECT

public:
    explicit MonitorList(ViewContext context, QWidget* parent = nullptr);

    void render() override;

private:
    ViewContext m_context;
    TextLabel* m_title;
    TextLabel* m_updated;
    TextLabel* m_emptyText;
    MonitorRows* m_rows;
};

} // namespace orvanel
