#pragma once

#include <QCheckBox>

namespace orvanel {

/// A check box drawn as a switch at the other end of the row from its text. The whole row can be clicked.
class Switch final : public QCheckBox {
    Q_OBJECT

public:
    explicit Switch(const QString& text, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

protected:
    bool hitButton(const QPoint& position) const override { return rect().contains(position); }
    void paintEvent(QPaintEvent* event) override;

private:
    QRectF trackRect() const;
    void paintTrack(QPainter& painter) const;
};

} // namespace orvanel
