#pragma once

#include "app/views/Card.h"

namespace orvanel {

/// Docker is installed, but no runtime answers.
class DockerNotRunningCard final : public Card {
    Q_OBJECT

public:
    explicit DockerNotRunningCard(ViewContext context, QWidget* parent = nullptr);

    void render() override {}
};

} // namespace orvanel
