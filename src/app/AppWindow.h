#pragma once

#include <QWidget>

class QAbstractButton;
class QAction;

namespace orvanel {

/// What all windows of the program share: Ctrl+Q quits, also in what is asked over them, Ctrl+W closes, Return presses
/// a button, and their texts follow the desktop's font.
class AppWindow : public QWidget {
    Q_OBJECT

public:
    explicit AppWindow(const QString& title);

protected:
    /// The button that Return presses while none has the focus, or nullptr.
    virtual QAbstractButton* defaultButton() const { return nullptr; }

    void childEvent(QChildEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;

private:
    QAction* m_quit;
};

} // namespace orvanel
