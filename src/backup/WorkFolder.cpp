#include "backup/WorkFolder.h"

#include "backup/Recovery.h"
#include "backup/RemoveTree.h"
#include "backup/Swap.h"

#include <QFile>
#include <QUuid>

#include <algorithm>
#include <array>
#include <cerrno>
#include <climits>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

bool isOurName(const QString& name, const QString& prefix) {
    if (!name.startsWith(prefix)) {
        return false;
    }
    const QString rest = name.mid(prefix.size());
    const QUuid uuid = QUuid::fromString(rest);
    return !uuid.isNull() && uuid.toString(QUuid::WithoutBraces).toUpper() == rest;
}

/// Opens and locks a work folder. Returns a closed descriptor if that is impossible or another process holds the lock.
/// On a file system without locks, nobody does.
FileDescriptor lockFolder(const QString& path) {
    FileDescriptor folder = openFolder(AT_FDCWD, QFile::encodeName(path).toStdString());
    if (folder.isOpen() && ::flock(folder.get(), LOCK_EX | LOCK_NB) != 0 && errno == EWOULDBLOCK) {
        folder.reset();
    }
    return folder;
}

const QString discardedPrefix = u".orvanel-discarded-"_s;
const QString placePrefix = u".orvanel-place-"_s;

QString pathIn(const QString& folder, const QString& name) {
    return folder == u"/" ? folder + name : folder + u'/' + name;
}

QString uuidText() {
    return QUuid::createUuid().toString(QUuid::WithoutBraces).toUpper();
}

/// Removes what a crashed run left. `mayHaveSwapped` is false for a folder that an archive was unpacked to: a note of a
/// swap in there may come from the archive and must not be trusted.
void removeLeftover(const Leftover& leftover, const QString& parent, bool mayHaveSwapped) {
    const FileDescriptor above(::open(QFile::encodeName(parent).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const int folder = leftover.folder.get();
    if (mayHaveSwapped && (hasRestoreNote(folder) || !above.isOpen() || !undoSwap(folder, above.get()))) {
        return;
    }
    try {
        removeTree(leftover.path);
    } catch (const AppError&) {
        // The next run at this place tries again.
        return;
    }
}

/// Removes the work folders in the place that the note names, and then the note, unless the place cannot be reached.
void cleanUpPlace(int folder, const std::string& note) {
    const QString place = QFile::decodeName(readNote(folder, note).value_or("").c_str());
    if (!place.startsWith(u'/')) {
        ::unlinkat(folder, note.c_str(), 0);
        return;
    }
    WorkFolder::removeLeftovers(place);
    const QStringList names = namesIn(place);
    const bool isEmpty = std::none_of(names.begin(), names.end(),
                                      [](const QString& name) { return isOurName(name, WorkFolder::hidden); });
    if (isFolder(place) && isEmpty) {
        ::unlinkat(folder, note.c_str(), 0);
    }
}

} // namespace

void WorkFolder::removeLeftovers(const QString& parent, const QString& prefix) {
    for (const Leftover& leftover : leftoversIn(parent, prefix)) {
        removeLeftover(leftover, parent, prefix == hidden);
    }
}

WorkFolder::WorkFolder(const QString& parent, const QString& prefix) {
    removeLeftovers(parent, prefix);
    // Between the two calls, a clean-up may take the folder for a leftover and remove it; then another one is made.
    constexpr int attempts = 3;
    for (int attempt = 0; attempt < attempts && !m_lock.isOpen(); ++attempt) {
        m_path = pathIn(parent, prefix + uuidText());
        if (::mkdir(QFile::encodeName(m_path).constData(), S_IRWXU) != 0) {
            throw fileError(parent, errno);
        }
        m_lock = lockFolder(m_path);
    }
    const auto status = statusOf(m_path);
    if (!status || !m_lock.isOpen()) {
        throw fileError(m_path, ENOENT);
    }
    m_id = FileId(*status);
}

WorkFolder::~WorkFolder() {
    remove();
}

bool WorkFolder::holdsLinks() const {
    const char* const name = "link";
    if (::symlinkat("nowhere", m_lock.get(), name) != 0) {
        // Any other failure, such as a full disk, does not tell whether links are supported.
        return errno != EPERM && errno != EOPNOTSUPP && errno != ENOSYS;
    }
    ::unlinkat(m_lock.get(), name, 0);
    return true;
}

void WorkFolder::remove() {
    if (!m_lock.isOpen()) {
        return;
    }
    try {
        removeTree(m_path);
    } catch (const AppError&) {
        // The next run at this place tries again.
    }
    m_lock.reset();
}

void discard(const QString& path) {
    const QString discarded = pathIn(parentOf(path), discardedPrefix + uuidText());
    const int code = renameToNothing(path, discarded);
    if (code != 0) {
        throw fileError(path, code);
    }
    syncFolder(parentOf(path));
    // While this run deletes it, no other run does.
    const FileDescriptor lock = lockFolder(discarded);
    removeTree(discarded);
}

PlaceNote::PlaceNote(const QString& folder, const QString& place) {
    const QString name = placePrefix + uuidText();
    const FileDescriptor open(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    m_file = pathIn(folder, name);
    writeNote(open.get(), QFile::encodeName(name).toStdString(), QFile::encodeName(place).toStdString());
}

PlaceNote::~PlaceNote() {
    ::unlink(QFile::encodeName(m_file).constData());
}

void cleanUp(const QString& folder) {
    WorkFolder::removeLeftovers(folder);
    for (const Leftover& leftover : leftoversIn(folder, discardedPrefix)) {
        removeLeftover(leftover, folder, false);
    }
    const FileDescriptor open(::open(QFile::encodeName(folder).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    const QStringList names = namesIn(folder);
    for (const QString& name : names) {
        if (isOurName(name, placePrefix)) {
            cleanUpPlace(open.get(), QFile::encodeName(name).toStdString());
        }
    }
}

std::vector<Leftover> leftoversIn(const QString& parent, const QString& prefix) {
    std::vector<Leftover> leftovers;
    const QStringList names = namesIn(parent);
    for (const QString& name : names) {
        if (!isOurName(name, prefix)) {
            continue;
        }
        const QString path = parent + u'/' + name;
        FileDescriptor folder = lockFolder(path);
        struct stat status {};
        if (folder.isOpen() && ::fstat(folder.get(), &status) == 0 && status.st_uid == ::geteuid()) {
            leftovers.push_back({path, std::move(folder)});
        }
    }
    return leftovers;
}

int writeNote(int folder, const std::string& name, const std::string& text) {
    constexpr mode_t own = S_IRUSR | S_IWUSR;
    const FileDescriptor file(
        ::openat(folder, name.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, own));
    if (!file.isOpen()) {
        return errno;
    }
    const ssize_t written = ::pwrite(file.get(), text.data(), text.size(), 0);
    if (written < 0) {
        return errno;
    }
    if (static_cast<std::size_t>(written) != text.size()) {
        return ENOSPC;
    }
    // The name must reach the disk as well. Some file systems cannot sync a folder; there is nothing else to do.
    ::fsync(folder);
    return ::fsync(file.get()) == 0 ? 0 : errno;
}

std::optional<std::string> readNote(int folder, const std::string& name) {
    const FileDescriptor file(::openat(folder, name.c_str(), O_RDONLY | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC));
    if (!file.isOpen() && errno == ENOENT) {
        return std::nullopt;
    }
    if (!file.isOpen() && errno == ELOOP) {
        return "";
    }
    if (!file.isOpen()) {
        throw fileError(name, errno);
    }
    struct stat status {};
    if (::fstat(file.get(), &status) != 0 || !S_ISREG(status.st_mode) || status.st_uid != ::geteuid()) {
        return "";
    }
    std::array<char, std::size_t{2} * PATH_MAX> words{};
    const ssize_t length = ::pread(file.get(), words.data(), words.size(), 0);
    if (length < 0) {
        throw fileError(name, errno);
    }
    return std::string(words.data(), static_cast<std::size_t>(length));
}

} // namespace orvanel
