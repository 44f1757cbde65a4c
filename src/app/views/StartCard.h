#pragma once

#include "app/views/Card.h"

namespace orvanel {

/// Uptime Kuma is stopped, or nothing is known yet of Docker.
class StartCard final : public Card {
    Q_OBJECT

public:
    explicit StartCard(ViewContext context, QWidget* parent = nullptr);

    void render() override;
    QPushButton* defaultButton() const override { return m_start; }

private:
    ViewContext m_context;
    TextLabel* m_explanation;
    QPushButton* m_start;
};

} // namespace orvanel
