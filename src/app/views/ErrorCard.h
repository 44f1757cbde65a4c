#pragma once

#include "app/views/Card.h"
#include "controller/ControllerState.h"

namespace orvanel {

class DetailsSection;

/// Why the last operation failed. It stands below the other card.
class ErrorCard final : public Card {
    Q_OBJECT

public:
    explicit ErrorCard(ViewContext context, QWidget* parent = nullptr);

    /// Call it only while there is an error.
    void render() override;
    /// Call it when the error is gone: the next error, even the same again, starts with its details collapsed.
    void forget();

private:
    void useSuggestedPort();

    ViewContext m_context;
    OpError m_shown;
    TextLabel* m_message;
    QPushButton* m_usePort;
    QPushButton* m_restore;
    QPushButton* m_goBack;
    DetailsSection* m_details;
};

} // namespace orvanel
