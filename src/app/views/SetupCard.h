#pragma once

#include "app/views/Card.h"

namespace orvanel {

class LogBox;

/// A Docker runtime is being installed or started.
class SetupCard final : public Card {
    Q_OBJECT

public:
    explicit SetupCard(ViewContext context, QWidget* parent = nullptr);

    void render() override;

private:
    ViewContext m_context;
    TextLabel* m_step;
    LogBox* m_log;
};

} // namespace orvanel
