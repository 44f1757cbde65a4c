#pragma once

#include "platform/Dialogs.h"

#include <functional>

class QWidget;

namespace orvanel {

/// Questions in windows of their own, each over the main window and only in the way of that one.
class WidgetDialogs final : public Dialogs {
public:
    /// Gives the window over which the question is asked, opened if need be; nullptr when there can be none any more.
    using ParentWindow = std::function<QWidget*()>;

    explicit WidgetDialogs(ParentWindow parentWindow);

    QCoro::Task<bool> confirm(Alert alert) override;
    /// Asks once more before it gives a path where something is already.
    QCoro::Task<std::optional<QString>> chooseSavePath(SavePanel panel) override;
    QCoro::Task<std::optional<QString>> chooseOpenPath(OpenPanel panel) override;

private:
    QCoro::Task<std::optional<QString>> askForSavePath(SavePanel panel, QString proposed);

    const ParentWindow m_parentWindow;
};

} // namespace orvanel
