#pragma once

#include "app/widgets/StateColors.h"

#include <QWidget>

#include <optional>

namespace orvanel {

/// A line drawing before a heading. It repeats what the heading says, so screen readers are not told of it.
class Symbol final : public QWidget {
    Q_OBJECT

public:
    enum class Kind { playCircle, warningTriangle, crossOctagon, box };

    /// In the colour of the palette's text, or of a meaning.
    explicit Symbol(Kind kind, std::optional<Meaning> meaning = {}, QWidget* parent = nullptr);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    const Kind m_kind;
    const std::optional<Meaning> m_meaning;
};

} // namespace orvanel
