#include "platform/SettingsStore.h"

#include "platform/AppIdentity.h"
#include "platform/IniText.h"
#include "platform/UserFiles.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLockFile>
#include <QSettings>
#include <QTemporaryFile>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// Longer texts are refused, so that the file stays small.
constexpr qsizetype longestText = 6000;

/// What is found in the place of the settings file.
enum class SettingsFile { Missing, Good, Broken, Unusable };

QString usersFile() {
    const QString name = identity::applicationName();
    return u"%1/%2/%2.conf"_s.arg(folders::configuration(), name);
}

bool isText(const QByteArray& content) {
    return !content.contains('\0');
}

SettingsFile inspect(const QString& path) {
    const QFileInfo info(path);
    if (!info.exists()) {
        return SettingsFile::Missing;
    }
    if (!info.isFile()) {
        return SettingsFile::Unusable;
    }
    if (info.size() > smallFileLimit) {
        return SettingsFile::Broken;
    }
    const auto content = readSmallFile(path);
    if (!content) {
        return SettingsFile::Unusable;
    }
    return isText(*content) && isHarmlessIni(*content) ? SettingsFile::Good : SettingsFile::Broken;
}

QVariantHash valuesIn(const QString& path) {
    QVariantHash values;
    const QSettings settings(path, QSettings::IniFormat);
    const QStringList keys = settings.allKeys();
    for (const QString& key : keys) {
        values.insert(key, settings.value(key));
    }
    return values;
}

/// If some lines of the text are bad, the good ones still count.
QVariantHash readValues(const QString& path) {
    const auto content = readSmallFile(path);
    if (!content || !isText(*content)) {
        return {};
    }
    if (isHarmlessIni(*content)) {
        return valuesIn(path);
    }
    QTemporaryFile goodLines;
    if (!goodLines.open() || goodLines.write(harmlessIniLines(*content)) < 0 || !goodLines.flush()) {
        return {};
    }
    return valuesIn(goodLines.fileName());
}

// UTF-8 cannot hold half a surrogate pair. Replacing it here gives this run the same value that the next run will read.
QString withoutHalfPairs(QString text) {
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i].isHighSurrogate() && i + 1 < text.size() && text[i + 1].isLowSurrogate()) {
            ++i;
        } else if (text[i].isSurrogate()) {
            text[i] = QChar::ReplacementCharacter;
        }
    }
    return text;
}

/// QSettings waits without a time limit for the lock beside the file, which would block the window. If something holds
/// that lock, nothing is written.
bool isLockFree(const QString& path) {
    constexpr int patience = 100;
    QLockFile lock(path + u".lock"_s);
    lock.setStaleLockTime(0);
    return lock.tryLock(patience) || lock.error() != QLockFile::LockFailedError;
}

/// QSettings does not notice if the disk is full at the very end, and leaves an empty file. So a file as large as a
/// settings file may get is written first. Where none can be made, QSettings finds out itself what is wrong.
bool hasRoom(const QString& path) {
    const QFileInfo existing(path);
    const QString target = existing.isSymLink() ? existing.symLinkTarget() : path;
    QDir().mkpath(QFileInfo(target).absolutePath());
    QTemporaryFile trial(target + u".XXXXXX"_s);
    return !trial.open() || (trial.write(QByteArray(smallFileLimit, ' ')) == smallFileLimit && trial.flush());
}

bool moveAside(const QString& path) {
    const QString broken = path + u".broken"_s;
    QString target = broken;
    for (int number = 2; QFileInfo::exists(target) || QFileInfo(target).isSymLink(); ++number) {
        target = broken + QString::number(number);
    }
    return QFile::rename(path, target);
}

} // namespace

SettingsStore::SettingsStore()
    : SettingsStore(usersFile()) {}

SettingsStore::SettingsStore(const QString& file)
    : m_file(file)
    , m_values(readValues(file)) {}

SettingsStore::~SettingsStore() = default;

int SettingsStore::integer(const QString& key, int fallback) const {
    bool isNumber = false;
    const int value = text(key, {}).toInt(&isNumber);
    return isNumber ? value : fallback;
}

QString SettingsStore::text(const QString& key, const QString& fallback) const {
    const QVariant value = m_values.value(key);
    return value.typeId() == QMetaType::QString ? value.toString() : fallback;
}

bool SettingsStore::boolean(const QString& key, bool fallback) const {
    const QString value = text(key, {}).toLower();
    if (value == u"true"_s || value == u"1"_s) {
        return true;
    }
    if (value == u"false"_s || value == u"0"_s) {
        return false;
    }
    return fallback;
}

bool SettingsStore::setInteger(const QString& key, int value) {
    return set(key, QString::number(value));
}

bool SettingsStore::setText(const QString& key, const QString& value) {
    return set(key, withoutHalfPairs(value));
}

bool SettingsStore::setBoolean(const QString& key, bool value) {
    return set(key, value ? u"true"_s : u"false"_s);
}

QString SettingsStore::file() const {
    return m_file;
}

bool SettingsStore::set(const QString& key, const QString& value) {
    m_values.insert(key, value);
    if (value.size() > longestText) {
        return false;
    }
    const SettingsFile state = inspect(m_file);
    if (!hasRoom(m_file)) {
        return false;
    }
    if (state == SettingsFile::Unusable || (state == SettingsFile::Broken && !moveAside(m_file))) {
        return false;
    }
    if (!isLockFree(m_file)) {
        return false;
    }
    // A new object each time, because a QSettings keeps its error status.
    QSettings settings(m_file, QSettings::IniFormat);
    if (state != SettingsFile::Good) {
        for (auto kept = m_values.cbegin(); kept != m_values.cend(); ++kept) {
            if (kept.value().toString().size() <= longestText) {
                settings.setValue(kept.key(), kept.value());
            }
        }
    }
    settings.setValue(key, value);
    settings.sync();
    return settings.status() == QSettings::NoError;
}

} // namespace orvanel
