#pragma once

#include "app/views/Card.h"

namespace orvanel {

/// The docker tool was not found.
class DockerMissingCard final : public Card {
    Q_OBJECT

public:
    explicit DockerMissingCard(ViewContext context, QWidget* parent = nullptr);

    void render() override {}
};

} // namespace orvanel
