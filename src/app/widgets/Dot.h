#pragma once

#include "app/widgets/StateColors.h"

#include <QWidget>

namespace orvanel {

/// A filled circle whose colour has a meaning, which it also says in words.
class Dot final : public QWidget {
    Q_OBJECT

public:
    explicit Dot(int diameter, QWidget* parent = nullptr);

    /// `spoken` is the meaning in words.
    void setState(Meaning meaning, const QString& spoken);
    Meaning meaning() const { return m_meaning; }

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Meaning m_meaning = Meaning::inactive;
};

} // namespace orvanel
