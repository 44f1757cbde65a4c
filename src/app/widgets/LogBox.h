#pragma once

#include "app/widgets/TextBox.h"

namespace orvanel {

/// The live output of a tool, in a box of fixed height where the newest is always in view.
class LogBox final : public TextBox {
    Q_OBJECT

public:
    /// `placeholder` is shown while there is no output.
    LogBox(const QString& name, const QString& placeholder, QWidget* parent = nullptr);

    void setLog(const QString& text);
};

} // namespace orvanel
