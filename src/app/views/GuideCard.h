#pragma once

#include "app/views/Card.h"

class QKeyEvent;
class QLineEdit;

namespace orvanel {

/// Why no monitors are shown yet, and the field for the slug that changes it.
class GuideCard final : public Card {
    Q_OBJECT

public:
    explicit GuideCard(ViewContext context, QWidget* parent = nullptr);

    void render() override;

    /// Without its explanation the card is only the field. So it may stay while a slug is being typed, whose first
    /// letter already brings the monitors.
    void setExplained(bool explained);
    /// Whether the field is where the window's keys go.
    bool isBeingTypedIn() const;

Q_SIGNALS:
    void typingEnded();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* makeExplanation();
    QLineEdit* makeField();
    bool isHandledKey(const QKeyEvent& event);

    ViewContext m_context;
    QPushButton* m_openDashboard = nullptr;
    QWidget* m_explanation;
    QLineEdit* m_slug;
};

} // namespace orvanel
