#pragma once

#include "app/views/Card.h"

namespace orvanel {

class DetailsSection;

/// Docker is installed, but no runtime answers.
class DockerNotRunningCard final : public Card {
    Q_OBJECT

public:
    explicit DockerNotRunningCard(ViewContext context, QWidget* parent = nullptr);

    void render() override;
    QPushButton* defaultButton() const override;

private:
    ViewContext m_context;
    TextLabel* m_explanation;
    TextLabel* m_permission;
    QPushButton* m_startColima;
    QPushButton* m_installColima;
    QPushButton* m_getHomebrew;
    DetailsSection* m_details;
};

} // namespace orvanel
