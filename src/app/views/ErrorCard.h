#pragma once

#include "app/views/Card.h"
#include "controller/ControllerState.h"

namespace orvanel {

class DetailsSection;

/// Why the last operation failed, below whatever else is shown.
class ErrorCard final : public Card {
    Q_OBJECT

public:
    explicit ErrorCard(ViewContext context, QWidget* parent = nullptr);

    /// Only to be called while there is an error.
    void render() override;
    /// The error is gone: the next one, even the same again, begins with its details collapsed.
    void forget();

private:
    void useSuggestedPort();

    ViewContext m_context;
    OpError m_shown;
    TextLabel* m_message;
    QPushButton* m_usePort;
    DetailsSection* m_details;
};

} // namespace orvanel
