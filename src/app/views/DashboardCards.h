#pragma once

#include "app/views/Card.h"

namespace orvanel {

/// The container runs, but its page does not answer yet, perhaps because the server converts its data first.
class StartingCard final : public Card {
    Q_OBJECT

public:
    explicit StartingCard(ViewContext context, QWidget* parent = nullptr);

    void render() override;

private:
    ViewContext m_context;
    TextLabel* m_text;
    TextLabel* m_backup;
};

/// Why the status page could not be read, and what to do about it.
class StatusErrorCard final : public Card {
    Q_OBJECT

public:
    explicit StatusErrorCard(ViewContext context, QWidget* parent = nullptr);

    /// Call it only while there is a status error.
    void render() override;

private:
    ViewContext m_context;
    TextLabel* m_message;
    TextLabel* m_advice;
};

} // namespace orvanel
