#pragma once

#include "app/views/Card.h"

namespace orvanel {

/// Why the status page could not be read, and what to do about it.
class StatusErrorCard final : public Card {
    Q_OBJECT

public:
    explicit StatusErrorCard(ViewContext context, QWidget* parent = nullptr);

    /// Only to be called while there is a status error.
    void render() override;

private:
    ViewContext m_context;
    TextLabel* m_message;
    TextLabel* m_advice;
};

} // namespace orvanel
