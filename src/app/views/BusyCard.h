#pragma once

#include "app/views/Card.h"

namespace orvanel {

/// An operation is under way: what it is, and "Cancel".
class BusyCard final : public Card {
    Q_OBJECT

public:
    explicit BusyCard(ViewContext context, QWidget* parent = nullptr);

    void render() override;

private:
    ViewContext m_context;
    TextLabel* m_text;
};

} // namespace orvanel
