#pragma once

#include <QDialog>

class QScrollArea;

namespace orvanel {

class PushButton;
class Symbol;
class TextLabel;

/// The introduction for a new user, three pages one after the other, as a sheet over its parent window. finished()
/// comes when it was read or dismissed.
class GuideView final : public QDialog {
    Q_OBJECT

public:
    explicit GuideView(QWidget* parent);

protected:
    void keyPressEvent(QKeyEvent* event) override;
    void changeEvent(QEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void showPage(int page);
    void goOn();
    void fitSize();

    int m_page = 0;
    /// Scrolls where the screen is too small for the page.
    QScrollArea* m_area;
    QList<Symbol*> m_symbols;
    TextLabel* m_title;
    TextLabel* m_text;
    TextLabel* m_position;
    PushButton* m_next;
};

} // namespace orvanel
