#include "backup/SafePaths.h"

#include "backup/DailyCopy.h"
#include "backup/FileSystem.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <cstdlib>
#include <memory>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

QString withoutTrailingSlashes(QString path) {
    while (path.size() > 1 && path.endsWith(u'/')) {
        path.chop(1);
    }
    return path;
}

bool isKeptName(const QString& name) {
    static const QRegularExpression kept(u"^before-(restore|update|interrupted-restore)-"_s);
    return kept.match(name).hasMatch();
}

/// Daily copies are deleted one day, and what is in them may be shared.
AppError dailyCopyError() {
    return AppError(u"That folder contains daily backups. Choose another place."_s);
}

AppError keptDataError() {
    return AppError(u"That folder contains data kept by an earlier restore or update. Choose "
                    "another place."_s);
}

} // namespace

QString resolved(const QString& path) {
    struct Free {
        void operator()(char* text) const { std::free(text); }
    };
    const std::unique_ptr<char, Free> result(::realpath(QFile::encodeName(path).constData(), nullptr));
    return result ? QFile::decodeName(result.get()) : QString();
}

QString placeOf(const QString& path) {
    const QString whole = withoutTrailingSlashes(QDir::isAbsolutePath(path) ? path : QDir::currentPath() + u'/' + path);
    const QString name = nameOf(whole);
    const bool isPlainName = !name.isEmpty() && name != u"." && name != u"..";
    const QString folder = isPlainName ? parentOf(whole) : whole;
    QString real = resolved(folder);
    if (real.isEmpty()) {
        throw fileError(folder, errno);
    }
    if (!isPlainName) {
        return real;
    }
    return real == u"/" ? real + name : real + u'/' + name;
}

QStringList dataPlacesOf(const QString& dataDir) {
    constexpr int mostLinks = 40;
    QStringList places{placeOf(dataDir)};
    while (places.size() <= mostLinks) {
        const QString& place = places.last();
        std::array<char, PATH_MAX> text{};
        const ssize_t length = ::readlink(QFile::encodeName(place).constData(), text.data(), text.size() - 1);
        if (length < 0) {
            return places;
        }
        const QString target = QFile::decodeName(text.data());
        places << placeOf(QDir::isAbsolutePath(target) ? target : parentOf(place) + u'/' + target);
    }
    throw fileError(dataDir, ELOOP);
}

QString dataPlaceOf(const QString& dataDir) {
    return dataPlacesOf(dataDir).last();
}

bool isInside(const QString& path, const QString& folder) {
    if (!statusOf(folder)) {
        // The folder does not exist, so only the names can be compared.
        return (QDir::cleanPath(path) + u'/').startsWith(QDir::cleanPath(folder) + u'/');
    }
    QString existing = QDir::isAbsolutePath(path) ? path : QDir::currentPath() + u'/' + path;
    QString at = resolved(existing);
    while (at.isEmpty()) {
        existing = parentOf(withoutTrailingSlashes(existing));
        at = resolved(existing);
    }
    while (!isSame(at, folder)) {
        if (at == u"/") {
            return false;
        }
        at = parentOf(at);
    }
    return true;
}

void requireBackupPlace(const QString& destination, const QString& dataDir) {
    // Only the link itself would be replaced, never what it points to.
    const auto status = statusOf(destination);
    const bool isLink = status && S_ISLNK(status->st_mode);
    const QStringList places = dataPlacesOf(dataDir);
    if (isInside(parentOf(destination), dataDir) || (!isLink && isInside(destination, dataDir)) ||
        places.contains(destination)) {
        throw AppError(u"A backup cannot be saved inside the data folder. Choose another place."_s);
    }
    const bool holdsData = std::any_of(places.begin(), places.end(),
                                       [&](const QString& place) { return isInside(parentOf(place), destination); });
    if (!isLink && holdsData) {
        throw AppError(u"A backup cannot replace a folder that contains the data folder. Choose another place."_s);
    }
    const QStringList names = isLink ? QStringList() : namesIn(destination);
    for (const QString& name : names) {
        if (isKeptName(name)) {
            throw keptDataError();
        }
        if (isDailyName(name)) {
            throw dailyCopyError();
        }
    }
}

void requireNoKeptData(const QString& destination, const QString& dataDir) {
    if (isKeptName(nameOf(destination)) && isFolder(destination)) {
        throw keptDataError();
    }
    const QString backupsDir = parentOf(placeOf(dataDir)) + u"/Backups"_s;
    for (QString at = destination; at != u"/"; at = parentOf(at)) {
        const bool isKept = isKeptName(nameOf(at));
        if ((isKept || isDailyName(nameOf(at))) && isSame(parentOf(at), backupsDir)) {
            throw isKept ? keptDataError() : dailyCopyError();
        }
    }
}

void requireRestorePlaces(const QString& source, const QString& dataDir, const QString& backupsDir) {
    if (isInside(source, dataDir)) {
        throw AppError(u"A backup inside the data folder cannot be restored. Move it elsewhere first."_s);
    }
    if (isInside(dataDir, source)) {
        throw AppError(
            u"A folder that contains the data folder cannot be restored. Move the backup elsewhere first."_s);
    }
    if (isInside(backupsDir, dataDir) || isInside(dataDir, backupsDir)) {
        throw AppError(u"The Backups folder and the data folder must not be inside each other."_s);
    }
}

} // namespace orvanel
