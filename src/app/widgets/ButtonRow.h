#pragma once

#include <QLayout>

#include <functional>

namespace orvanel {

/// Puts buttons side by side, closer where room is scarce. Those that do not fit go into the next row, so large fonts
/// and narrow windows cut nothing off.
class ButtonRow final : public QLayout {
    Q_OBJECT

public:
    explicit ButtonRow(QWidget* parent = nullptr);
    ~ButtonRow() override;

    void addItem(QLayoutItem* item) override;
    int count() const override { return static_cast<int>(m_items.size()); }
    QLayoutItem* itemAt(int index) const override { return m_items.value(index); }
    QLayoutItem* takeAt(int index) override;

    Qt::Orientations expandingDirections() const override { return {}; }
    bool hasHeightForWidth() const override { return true; }
    int heightForWidth(int width) const override;
    QSize sizeHint() const override;
    QSize minimumSize() const override;
    void setGeometry(const QRect& area) override;

private:
    bool isTight(int width) const;
    /// Calls `place` with the place of each item, and returns the height that they take.
    int arrange(const QRect& area, const std::function<void(QLayoutItem*, const QRect&)>& place) const;

    QList<QLayoutItem*> m_items;
};

} // namespace orvanel
