#pragma once

#include "app/views/Card.h"

namespace orvanel {

/// The container runs, but its page does not answer yet.
class StartingCard final : public Card {
    Q_OBJECT

public:
    explicit StartingCard(QWidget* parent = nullptr);

    void render() override {}
};

} // namespace orvanel
