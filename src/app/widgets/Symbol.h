#pragma once

#include "app/widgets/StateColors.h"
#include "app/widgets/TextStyle.h"

#include <QWidget>

#include <optional>

namespace orvanel {

/// A line drawing before or above a heading, as high as a line of its text. Drawn from paths, so that it is sharp at
/// every scale, follows the palette, and costs nothing while no window is open. It repeats what the heading says, so
/// screen readers are not told of it.
class Symbol final : public QWidget {
    Q_OBJECT

public:
    enum class Kind { heartbeat, box, shieldWithLock, warningTriangle, playCircle, crossOctagon };

    /// In the colour of the palette's text.
    explicit Symbol(Kind kind, TextStyle style, QWidget* parent = nullptr);

    void setMeaning(Meaning meaning);
    /// In the desktop's highlight colour.
    void setAccented();

protected:
    void paintEvent(QPaintEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    QColor color() const;
    void fitFont();

    const Kind m_kind;
    std::optional<Meaning> m_meaning;
    bool m_accented = false;
};

} // namespace orvanel
