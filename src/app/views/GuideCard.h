#pragma once

#include "app/views/Card.h"
#include "task/Clock.h"

class QInputMethodEvent;
class QKeyEvent;

namespace orvanel {

class TextField;

/// Why no monitors are shown yet, and the field for the slug that brings them.
class GuideCard final : public Card {
    Q_OBJECT

public:
    explicit GuideCard(ViewContext context, QWidget* parent = nullptr);

    void render() override;

    /// Without its explanation the card is only the field. That is how it stays while a slug is being typed, whose
    /// first letter already brings the monitors.
    void setExplained(bool explained);
    /// Whether the user is typing: until Return, until another control has the focus, or until a moment after the last
    /// key. A text that an input method is still composing, and a look into another window, may take any time.
    bool isBeingTypedIn() const { return m_isBeingTypedIn; }

Q_SIGNALS:
    void typingEnded();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    QWidget* makeExplanation();
    TextField* makeField();
    bool isHandledKey(const QKeyEvent& event);
    void onTyped();
    void onComposed(const QInputMethodEvent& event);
    void endTyping();

    ViewContext m_context;
    QPushButton* m_openDashboard = nullptr;
    QWidget* m_explanation;
    TextField* m_slug;
    bool m_isBeingTypedIn = false;
    /// Set while the end of typing depends on the time.
    std::unique_ptr<Clock::Timer> m_pause;
};

} // namespace orvanel
