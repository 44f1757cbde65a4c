#pragma once

#include "app/views/Card.h"

namespace orvanel {

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

} // namespace orvanel
