#pragma once

#include <QString>

#include <memory>

class QSettings;

namespace orvanel {

/// The per-user defaults store: small values by key, each with its type. Whatever else lies under a key, or in a file
/// that somebody edited by hand, reads as the fallback. Main thread.
class SettingsStore {
public:
    /// The user's own store ("Orvanel.conf" in the folder "Orvanel" of the configuration home).
    SettingsStore();
    explicit SettingsStore(const QString& file);
    ~SettingsStore();
    SettingsStore(const SettingsStore&) = delete;
    SettingsStore& operator=(const SettingsStore&) = delete;

    int integer(const QString& key, int fallback) const;
    QString text(const QString& key, const QString& fallback) const;
    bool boolean(const QString& key, bool fallback) const;

    /// Written to disk before the call returns. False when that failed; the value then holds for this run only.
    bool setInteger(const QString& key, int value);
    bool setText(const QString& key, const QString& value);
    bool setBoolean(const QString& key, bool value);

    QString file() const;

private:
    std::unique_ptr<QSettings> m_settings;
};

} // namespace orvanel
