#pragma once

#include <QWidget>

namespace orvanel {

/// A thin horizontal line.
class Divider final : public QWidget {
    Q_OBJECT

public:
    explicit Divider(QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;
};

} // namespace orvanel
