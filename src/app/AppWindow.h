#pragma once

#include <QWidget>

namespace orvanel {

/// What all windows of the program share: Ctrl+Q quits, Ctrl+W closes, and their texts follow the desktop's font.
class AppWindow : public QWidget {
    Q_OBJECT

public:
    explicit AppWindow(const QString& title);

protected:
    void changeEvent(QEvent* event) override;
};

} // namespace orvanel
