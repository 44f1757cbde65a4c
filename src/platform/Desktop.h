#pragma once

#include <QString>
#include <QUrl>

namespace orvanel {

/// The user's browser and file manager. Main thread; never blocks.
class Desktop {
public:
    Desktop() = default;
    virtual ~Desktop() = default;
    Desktop(const Desktop&) = delete;
    Desktop& operator=(const Desktop&) = delete;

    /// Opens an http or https address in the default browser; any other is ignored.
    virtual void openAddress(const QUrl& address) = 0;
    /// Shows a file or folder, selected, in the file manager; where none can select, opens the folder that holds it.
    virtual void reveal(const QString& path) = 0;
};

} // namespace orvanel
