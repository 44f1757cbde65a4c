#pragma once

#include <QCoro/QCoroTask>
#include <QString>

#include <optional>

namespace orvanel {

/// A question with two answers.
struct Alert {
    enum class Style { Information, Warning, Critical };

    Style style = Style::Information;
    QString message;
    QString informativeText;
    /// The first button.
    QString confirmButton;
    QString cancelButton;
    /// Which of them Return presses.
    bool confirmsByReturn = true;
};

struct SavePanel {
    QString title;
    QString message;
    QString proposedName;
};

struct OpenPanel {
    QString title;
    QString message;
    bool filesAllowed = true;
    bool foldersAllowed = false;
};

/// Questions to the user. The window that asks stays usable by the event loop: nothing here blocks. Main thread.
/// A question that cannot be shown, or is closed, counts as cancelled.
class Dialogs {
public:
    Dialogs() = default;
    virtual ~Dialogs() = default;
    Dialogs(const Dialogs&) = delete;
    Dialogs& operator=(const Dialogs&) = delete;

    virtual QCoro::Task<bool> confirm(Alert alert) = 0;
    /// The chosen path, or none.
    virtual QCoro::Task<std::optional<QString>> chooseSavePath(SavePanel panel) = 0;
    virtual QCoro::Task<std::optional<QString>> chooseOpenPath(OpenPanel panel) = 0;
};

} // namespace orvanel
