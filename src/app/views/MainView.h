#pragma once

#include "app/RenderTrigger.h"
#include "app/views/StateCards.h"
#include "app/views/View.h"
#include "controller/ControllerState.h"

#include <QPointer>

class QScrollArea;
class QVBoxLayout;

namespace orvanel {

class Dot;
class ErrorCard;
class GuideView;
class TextLabel;

/// The content of the main window: the health in one line, below it the card for the current state, and below that the
/// error card while there is an error.
class MainView final : public View {
    Q_OBJECT

public:
    explicit MainView(ViewContext context, QWidget* parent = nullptr);

    void render() override;
    QPushButton* defaultButton() const override;

protected:
    void showEvent(QShowEvent* event) override;
    void hideEvent(QHideEvent* event) override;

private:
    QWidget* makeHeader();
    QScrollArea* makeScrollArea();
    void renderHeader();
    void renderCard();
    void renderError(bool bringsIntoView);
    void replaceCard(StateCard kind);
    void putErrorLast();
    void returnToCheckAgain();
    void showGuide();
    View* makeCard(StateCard kind) const;

    ViewContext m_context;
    Dot* m_dot = nullptr;
    TextLabel* m_statusLine = nullptr;
    QScrollArea* m_area = nullptr;
    QVBoxLayout* m_column = nullptr;
    std::optional<StateCard> m_kind;
    View* m_card = nullptr;
    /// "Check again" had the focus in a card that was replaced while the state of Docker is unknown.
    bool m_returnsToCheckAgain = false;
    /// Made with the first error.
    ErrorCard* m_errorCard = nullptr;
    /// The error that is shown.
    std::optional<OpError> m_error;
    /// Only until the guide is done.
    QPointer<GuideView> m_guide;
    RenderTrigger m_trigger;
};

} // namespace orvanel
