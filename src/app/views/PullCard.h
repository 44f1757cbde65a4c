#pragma once

#include "app/views/Card.h"

namespace orvanel {

class LogBox;

/// The Uptime Kuma image is being downloaded.
class PullCard final : public Card {
    Q_OBJECT

public:
    explicit PullCard(ViewContext context, QWidget* parent = nullptr);

    void render() override;

private:
    ViewContext m_context;
    LogBox* m_log;
};

} // namespace orvanel
