#pragma once

#include <QString>
#include <QVariantHash>

namespace orvanel {

/// The per-user defaults store: small values by key, each with its type. Anything else under a key, for example
/// after an edit by hand, reads as the fallback. The file is read once, at creation. Main thread.
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

    /// Written to disk before the call returns. False when that failed, as it does with more than 6,000 characters and
    /// when another program holds the lock of the file for longer than 0.1 s; the value then holds for this run only.
    /// What others wrote into the file stays; a file that cannot be understood is moved aside, to the same name with
    /// ".broken" and, if need be, a number. Then, and when the file was deleted, all known values are written.
    bool setInteger(const QString& key, int value);
    bool setText(const QString& key, const QString& value);
    bool setBoolean(const QString& key, bool value);

    QString file() const;

private:
    bool set(const QString& key, const QString& value);

    QString m_file;
    QVariantHash m_values;
};

} // namespace orvanel
