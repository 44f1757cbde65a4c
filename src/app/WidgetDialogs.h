#pragma once

#include "platform/Dialogs.h"

#include <functional>

class QWidget;

namespace orvanel {

/// Asks in windows of their own, which block only the window that they are over.
class WidgetDialogs final : public Dialogs {
public:
    /// Gives the window over which to ask, opening it if needed, or nullptr when the program is quitting.
    using ParentWindow = std::function<QWidget*()>;

    explicit WidgetDialogs(ParentWindow parentWindow);

    QCoro::Task<bool> confirm(Alert alert) override;
    /// Asks before it returns the path of something that exists.
    QCoro::Task<std::optional<QString>> chooseSavePath(SavePanel panel) override;
    QCoro::Task<std::optional<QString>> chooseOpenPath(OpenPanel panel) override;

private:
    QCoro::Task<std::optional<QString>> askForSavePath(SavePanel panel, QString proposed);

    const ParentWindow m_parentWindow;
};

} // namespace orvanel
