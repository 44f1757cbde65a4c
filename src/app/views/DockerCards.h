#pragma once

#include "app/views/Card.h"

namespace orvanel {

class CommandBox;
class DetailsSection;

/// The docker tool was not found.
class DockerMissingCard final : public Card {
    Q_OBJECT

public:
    explicit DockerMissingCard(ViewContext context, QWidget* parent = nullptr);

    void render() override;
    QPushButton* defaultButton() const override;
    QPushButton* checkAgainButton() const override { return m_checkAgain; }

private:
    ViewContext m_context;
    TextLabel* m_withPackages;
    TextLabel* m_withHomebrew;
    TextLabel* m_homebrewIsNeeded;
    QPushButton* m_installDocker;
    QPushButton* m_install;
    QPushButton* m_getHomebrew;
    QPushButton* m_checkAgain;
};

/// Docker is installed, but no runtime answers.
class DockerNotRunningCard final : public Card {
    Q_OBJECT

public:
    explicit DockerNotRunningCard(ViewContext context, QWidget* parent = nullptr);

    void render() override;
    QPushButton* defaultButton() const override;
    QPushButton* checkAgainButton() const override { return m_checkAgain; }

private:
    ViewContext m_context;
    TextLabel* m_explanation;
    TextLabel* m_permission;
    TextLabel* m_ignoredHost;
    CommandBox* m_contextCommand;
    QPushButton* m_join;
    QPushButton* m_startDocker;
    QPushButton* m_startColima;
    QPushButton* m_installColima;
    QPushButton* m_getHomebrew;
    QPushButton* m_checkAgain;
    DetailsSection* m_details;
};

} // namespace orvanel
