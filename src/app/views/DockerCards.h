#pragma once

#include "app/views/Card.h"

namespace orvanel {

class DetailsSection;

/// The docker tool was not found.
class DockerMissingCard final : public Card {
    Q_OBJECT

public:
    explicit DockerMissingCard(ViewContext context, QWidget* parent = nullptr);

    void render() override;
    QPushButton* defaultButton() const override { return m_install; }

private:
    QWidget* makeFoundRow();
    void useFoundTool();

    ViewContext m_context;
    QWidget* m_foundRow;
    TextLabel* m_foundText = nullptr;
    TextLabel* m_homebrewIsNeeded;
    QPushButton* m_install;
    QPushButton* m_getHomebrew;
};

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
