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
    /// The text of the first button.
    QString confirmButton;
    QString cancelButton;
    /// Whether Return presses the first button; otherwise it presses the other one.
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

/// Asks the user questions. Main thread. Nothing blocks: the event loop goes on while a question is open. A question
/// that cannot be shown, or is closed, counts as cancelled.
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
