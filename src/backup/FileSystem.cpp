#include "backup/FileSystem.h"

#include <QDir>
#include <QFile>

#include <cerrno>
#include <cstdio>
#include <dirent.h>
#include <fcntl.h>
#include <memory>
#include <system_error>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

/// A folder can be moved to another parent only if its owner may write to it. This object adds that permission while it
/// lives and takes it back at the end, wherever the folder is by then.
class Movable {
public:
    explicit Movable(const NameIn& place)
        : m_folder(openFolder(place.folder, place.name)) {
        struct stat status {};
        constexpr mode_t permissions = S_IRWXU | S_IRWXG | S_IRWXO;
        if (m_folder.isOpen() && ::fstat(m_folder.get(), &status) == 0 && (status.st_mode & S_IWUSR) == 0) {
            m_mode = status.st_mode & permissions;
            m_isChanged = ::fchmod(m_folder.get(), m_mode | S_IWUSR) == 0;
        }
    }
    ~Movable() {
        if (m_isChanged) {
            ::fchmod(m_folder.get(), m_mode);
        }
    }
    Movable(const Movable&) = delete;
    Movable& operator=(const Movable&) = delete;

private:
    FileDescriptor m_folder;
    mode_t m_mode = 0;
    bool m_isChanged = false;
};

NameIn nameAt(const QString& path) {
    return {AT_FDCWD, QFile::encodeName(path).toStdString()};
}

} // namespace

AppError fileError(const QString& path, int code) {
    const std::string description = std::generic_category().message(code);
    return AppError(u"%1: %2"_s.arg(shownPath(path), QString::fromStdString(description)));
}

AppError fileError(const std::string& path, int code) {
    return fileError(QFile::decodeName(path.c_str()), code);
}

QString shownPath(const QString& path) {
    QString shown = path;
    for (QChar& character : shown) {
        if (character.category() == QChar::Other_Control) {
            character = QChar::ReplacementCharacter;
        }
    }
    return shown;
}

QString shownPath(const std::string& path) {
    return shownPath(QFile::decodeName(path.c_str()));
}

FileDescriptor openFolder(int parent, const std::string& name) {
    return FileDescriptor(::openat(parent, name.c_str(), O_RDONLY | O_DIRECTORY | O_NOFOLLOW | O_CLOEXEC));
}

std::vector<std::string> entriesOf(int folder, const std::string& path) {
    struct Close {
        void operator()(DIR* stream) const { ::closedir(stream); }
    };
    // The stream gets a descriptor of its own: it closes it, and moves its read position.
    const int own = ::openat(folder, ".", O_RDONLY | O_DIRECTORY | O_CLOEXEC);
    if (own < 0) {
        throw fileError(path, errno);
    }
    const std::unique_ptr<DIR, Close> stream(::fdopendir(own));
    if (!stream) {
        const int code = errno;
        ::close(own);
        throw fileError(path, code);
    }
    std::vector<std::string> names;
    errno = 0;
    while (const dirent* const entry = ::readdir(stream.get())) {
        std::string name = entry->d_name;
        if (name != "." && name != "..") {
            names.push_back(std::move(name));
        }
        errno = 0;
    }
    if (errno != 0) {
        throw fileError(path, errno);
    }
    return names;
}

std::optional<struct stat> statusOf(const QString& path) {
    struct stat status {};
    if (::lstat(QFile::encodeName(path).constData(), &status) != 0) {
        return std::nullopt;
    }
    return status;
}

bool isFolder(const QString& path) {
    const auto status = statusOf(path);
    return status && S_ISDIR(status->st_mode);
}

bool exists(const QString& path) {
    struct stat status {};
    if (::stat(QFile::encodeName(path).constData(), &status) == 0) {
        return true;
    }
    if (errno != ENOENT && errno != ENOTDIR) {
        throw fileError(path, errno);
    }
    return false;
}

QStringList namesIn(const QString& folder) {
    const std::string path = QFile::encodeName(folder).toStdString();
    const FileDescriptor open(::open(path.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!open.isOpen()) {
        return {};
    }
    QStringList names;
    try {
        for (const std::string& name : entriesOf(open.get(), path)) {
            names << QFile::decodeName(name.c_str());
        }
    } catch (const AppError&) {
        return {};
    }
    return names;
}

QString freeName(const QString& path) {
    QString name = path;
    for (int number = 2; statusOf(name); ++number) {
        name = path + u'-' + QString::number(number);
    }
    return name;
}

void makeFolder(const QString& path) {
    if (QDir(path).exists()) {
        return;
    }
    errno = 0;
    if (!QDir().mkpath(path)) {
        throw fileError(path, errno != 0 ? errno : EEXIST);
    }
}

QString parentOf(const QString& place) {
    const auto slash = place.lastIndexOf(u'/');
    return slash > 0 ? place.left(slash) : u"/"_s;
}

QString nameOf(const QString& place) {
    return place.mid(place.lastIndexOf(u'/') + 1);
}

bool isSame(const QString& path, const QString& other) {
    struct stat first {};
    struct stat second {};
    return ::stat(QFile::encodeName(path).constData(), &first) == 0 &&
           ::stat(QFile::encodeName(other).constData(), &second) == 0 && FileId(first) == FileId(second);
}

int rename(const NameIn& from, const NameIn& to, unsigned flags) {
    const Movable first(from);
    const Movable second(to);
    if (::renameat2(from.folder, from.name.c_str(), to.folder, to.name.c_str(), flags) == 0) {
        return 0;
    }
    return errno;
}

int rename(const QString& from, const QString& to, unsigned flags) {
    return rename(nameAt(from), nameAt(to), flags);
}

int renameToNothing(const NameIn& from, const NameIn& to) {
    const int code = rename(from, to, RENAME_NOREPLACE);
    if (!isUnknownFlag(code)) {
        return code;
    }
    struct stat status {};
    const bool isTaken = ::fstatat(to.folder, to.name.c_str(), &status, AT_SYMLINK_NOFOLLOW) == 0;
    return isTaken ? EEXIST : rename(from, to, 0);
}

bool isUnknownFlag(int code) {
    return code == EINVAL || code == ENOSYS || code == EOPNOTSUPP;
}

int renameToNothing(const QString& from, const QString& to) {
    return renameToNothing(nameAt(from), nameAt(to));
}

void syncFolder(const QString& path) {
    const FileDescriptor folder(::open(QFile::encodeName(path).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    // Some file systems cannot sync a folder; there is nothing else to do.
    if (folder.isOpen()) {
        ::fsync(folder.get());
    }
}

void syncFileSystem(const QString& path) {
    const FileDescriptor file(::open(QFile::encodeName(path).constData(), O_RDONLY | O_CLOEXEC));
    if (!file.isOpen() || ::syncfs(file.get()) != 0) {
        throw fileError(path, errno);
    }
}

void moveTo(const QString& from, const QString& to) {
    if (!moveIfPossible(from, to)) {
        throw fileError(from, EXDEV);
    }
}

bool moveIfPossible(const QString& from, const QString& to) {
    const int code = renameToNothing(from, to);
    if (code == EXDEV) {
        return false;
    }
    if (code != 0) {
        throw fileError(code == EEXIST || code == ENOTEMPTY ? to : from, code);
    }
    syncFolder(parentOf(to));
    syncFolder(parentOf(from));
    return true;
}

} // namespace orvanel
