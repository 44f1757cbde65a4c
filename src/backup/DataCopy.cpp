#include "backup/DataCopy.h"

#include "backup/CopyTree.h"
#include "backup/RemoveTree.h"
#include "backup/SafePaths.h"
#include "backup/Swap.h"
#include "backup/WorkFolder.h"

#include <QFile>

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

const QString database = u"/kuma.db"_s;

mode_t kindOf(const QString& path) {
    const auto status = statusOf(path);
    return status ? status->st_mode & S_IFMT : 0;
}

/// The database at the end of the link in `folder`; empty when there is none.
QString linkedDatabase(const QString& folder) {
    const QString path = resolved(folder + database);
    return !path.isEmpty() && kindOf(path) == S_IFREG ? path : QString();
}

/// Where the database is a link that points outside the copy, replaces the link with the file itself: the link alone
/// would save nothing, and a zip that contains it could not be restored. The logs that belong to the database are
/// beside that file; files of the same names beside the link belong to another database and are left out.
void copyLinkedDatabase(const QString& dataDir, const QString& copy, const WorkFolder& work) {
    if (kindOf(copy + database) != S_IFLNK) {
        return;
    }
    const QString inCopy = linkedDatabase(copy);
    const QString original = linkedDatabase(dataDir);
    if (original.isEmpty() || (!inCopy.isEmpty() && isInside(inCopy, copy))) {
        return;
    }
    const QString folder = work.path(u"linked"_s);
    makeFolder(folder);
    copyDatabase(parentOf(original), folder, nameOf(original));
    const auto froms = databaseFiles(nameOf(original));
    const auto tos = databaseFiles();
    for (std::size_t i = 0; i < tos.size(); ++i) {
        const QString from = folder + u'/' + QFile::decodeName(froms[i].c_str());
        const QString to = copy + u'/' + QFile::decodeName(tos[i].c_str());
        removeTree(to);
        if (statusOf(from)) {
            moveTo(from, to);
        }
    }
}

/// The problem of a copy without a database; none when the data has no database either.
std::optional<QString> problemWithoutDatabase(const QString& dataDir) {
    switch (kindOf(dataDir + database)) {
    case 0:
        return std::nullopt;
    case S_IFREG:
    case S_IFLNK:
    case S_IFDIR:
        return u"kuma.db was created during the backup, so the backup does not contain it."_s;
    default:
        return u"kuma.db is not a file, so the backup does not contain it."_s;
    }
}

DatabaseCheck checkCopy(const QString& dataDir, const QString& copy, const QString& scratch) {
    for (const QString& log : {u"kuma.db-wal"_s, u"kuma.db-journal"_s}) {
        const mode_t kind = kindOf(copy + u'/' + log);
        if (kind != 0 && kind != S_IFREG) {
            return {.problem = u"%1 is not a file, so the database was not checked."_s.arg(log)};
        }
    }
    switch (kindOf(copy + database)) {
    case S_IFREG:
        return checkDatabase(copy, scratch);
    case S_IFLNK: {
        const QString target = linkedDatabase(copy);
        if (target.isEmpty() || !isInside(target, copy)) {
            return {.problem = u"kuma.db is a broken link, so the backup does not contain the database."_s};
        }
        return checkDatabase(parentOf(target), scratch, nameOf(target));
    }
    case S_IFDIR:
        return {.problem = u"kuma.db is a folder, so the database was not checked."_s};
    default:
        return {.problem = problemWithoutDatabase(dataDir)};
    }
}

} // namespace

DatabaseCheck copyData(const QString& dataDir, const WorkFolder& work, const QString& name, const QString& earlier) {
    const QString copy = work.path(name);
    // The files of the database come last and together, so that little time passes between them.
    CopyOptions options{
        .copyRest =
            [&] {
                copyDatabase(dataDir, copy);
                copyLinkedDatabase(dataDir, copy, work);
            },
        .mayVanish = true,
        .never = work.id(),
        .earlier = earlier,
    };
    for (const std::string& file : databaseFiles()) {
        options.leaveOut.insert(file);
    }
    copyTree(dataDir, copy, options);
    auto check = checkCopy(dataDir, copy, work.path(u"scratch"_s));
    syncFileSystem(work.path());
    return check;
}

} // namespace orvanel
