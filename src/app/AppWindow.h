#pragma once

#include "app/views/View.h"

#include <QWidget>

class QAbstractButton;
class QAction;

namespace orvanel {

class Dialogs;
class MainView;

/// What all windows of the program share: Ctrl+Q quits, also in a question over the window, Ctrl+W closes, Return
/// presses a button, texts follow the desktop's font, and no window is larger than the free part of its screen.
class AppWindow : public QWidget {
    Q_OBJECT

public:
    /// What Escape does in a window.
    enum class EscapeKey { nothing, closes };

    AppWindow(const QString& title, EscapeKey escapeKey);

protected:
    /// The sizes of the window on a screen that has room for them. Call it once.
    void setSizes(QSize minimum, QSize maximum, QSize atFirst);

    /// The button that Return presses while no button has the focus, or nullptr.
    virtual QAbstractButton* defaultButton() const { return nullptr; }

    void childEvent(QChildEvent* event) override;
    void changeEvent(QEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void showEvent(QShowEvent* event) override;

private:
    void fitToScreen();
    void followScreen();

    const EscapeKey m_escapeKey;
    QAction* m_quit;
    QSize m_minimum;
    QSize m_maximum;
    QMetaObject::Connection m_screenChanges;
};

/// The window "main".
class MainWindow final : public AppWindow {
    Q_OBJECT

public:
    explicit MainWindow(ViewContext context);

protected:
    QAbstractButton* defaultButton() const override;

private:
    MainView* m_view;
};

/// The window "logs".
class LogsWindow final : public AppWindow {
    Q_OBJECT

public:
    /// The controller, dialogs and clock must outlive the window and the questions that it has asked.
    LogsWindow(KumaController& controller, Dialogs& dialogs, Clock& clock);
};

/// The window "settings".
class SettingsWindow final : public AppWindow {
    Q_OBJECT

public:
    /// The dialogs must outlive the window and the questions that it has asked.
    SettingsWindow(ViewContext context, Dialogs& dialogs);
};

} // namespace orvanel
