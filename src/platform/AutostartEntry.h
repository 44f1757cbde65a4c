#pragma once

#include "platform/LoginItem.h"

#include <QStringList>

namespace orvanel {

/// The login item of desktops that follow the Desktop Application Autostart standard: a desktop entry in the
/// user's autostart folder. Nothing is kept in memory: the file is the status.
class AutostartEntry final : public LoginItem {
public:
    /// Folders with autostart entries: the user's own, then the system's in order of precedence.
    struct Places {
        QString userFolder;
        QStringList systemFolders;
        /// The names of the desktop that runs, by which entries limit themselves to some desktops.
        QStringList desktops;

        static Places ofThisUser();
    };

    /// This program, this user.
    AutostartEntry();
    /// `program` is the absolute path of the executable to start.
    AutostartEntry(QString program, Places places);

    /// True when the entry that counts (the user's file hides the system's of the same name) would start `program`:
    /// neither hidden nor switched off nor meant for other desktops, what it needs is there, and its Exec names
    /// `program`.
    bool isEnabled() const override;
    /// Other keys of the user's file stay as they are.
    std::optional<QString> setEnabled(bool enabled) override;

private:
    QString userFile() const;
    QString entryThatCounts() const;
    std::optional<QString> write(const QByteArray& content) const;

    QString m_program;
    Places m_places;
};

} // namespace orvanel
