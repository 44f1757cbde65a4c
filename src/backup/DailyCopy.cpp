#include "backup/DailyCopy.h"

#include "backup/FileSystem.h"
#include "backup/WorkFolder.h"

#include <QCryptographicHash>
#include <QFile>
#include <QRegularExpression>

#include <algorithm>
#include <array>
#include <climits>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

const QString prefix = u"daily-"_s;
const QString markPrefix = u".orvanel-daily-"_s;
const QString timeFormat = u"yyyyMMdd-HHmmss"_s;

/// The words of a check in a mark, and what the name of the copy then ends in.
struct CheckWords {
    QString inMark;
    QString inName;
};

const CheckWords& wordsOf(DailyCopy::Check check) {
    static const std::array<CheckWords, 3> words{
        CheckWords{u"passed"_s, QString()},
        CheckWords{u"failed"_s, u" (check failed)"_s},
        CheckWords{u"not-made"_s, u" (not checked)"_s},
    };
    return words.at(static_cast<std::size_t>(check));
}

std::optional<DailyCopy::Check> checkFrom(const QString& inMark) {
    for (const auto check : {DailyCopy::Check::passed, DailyCopy::Check::failed, DailyCopy::Check::notMade}) {
        if (wordsOf(check).inMark == inMark) {
            return check;
        }
    }
    return std::nullopt;
}

QDateTime parsedTime(const QString& time) {
    return QDateTime::fromString(time, timeFormat);
}

/// What a mark tells: the copy, and the names, sizes and dates of its files.
struct Mark {
    DailyCopy copy;
    /// A disk that cannot keep dates exactly shows others after a while.
    bool hasDates = true;
    QString files;
};

QString textOf(const Mark& mark) {
    return u"Orvanel daily copy 1\nnumber %1\ncheck %2\nblocks %3\ndates %4\nfiles %5\n"_s.arg(
        QString::number(mark.copy.number), wordsOf(mark.copy.check).inMark,
        mark.copy.sharesBlocks ? u"shared"_s : u"own"_s, mark.hasDates ? u"kept"_s : u"lost"_s, mark.files);
}

std::optional<Mark> markFrom(const QString& time, const QString& text) {
    static const QRegularExpression form(u"\\AOrvanel daily copy 1\nnumber ([0-9]{1,9})\ncheck ([a-z-]+)\n"
                                         "blocks (shared|own)\ndates (kept|lost)\nfiles ([0-9a-f]{64})\n\\z"_s);
    const QRegularExpressionMatch found = form.match(text);
    const std::optional<DailyCopy::Check> check = checkFrom(found.captured(2));
    if (!found.hasMatch() || !check) {
        return std::nullopt;
    }
    return Mark{.copy = {.time = time,
                         .number = found.captured(1).toInt(),
                         .check = *check,
                         .sharesBlocks = found.captured(3) == u"shared"},
                .hasDates = found.captured(4) == u"kept",
                .files = found.captured(5)};
}

/// Describes a folder by its names, and the kinds, sizes and dates of what they stand for. Dates to the second, since
/// some disks keep no more.
class Fingerprint {
public:
    explicit Fingerprint(bool hasDates)
        : m_hasDates(hasDates) {}

    QString of(const QString& folder) {
        addFolder(openFolder(AT_FDCWD, QFile::encodeName(folder).toStdString()), {}, 0);
        return QString::fromLatin1(m_hash.result().toHex());
    }

private:
    /// Deeper than any copy is.
    static constexpr int deepest = 250;

    void add(const std::string& text) {
        m_hash.addData(QByteArrayView(text.c_str(), static_cast<qsizetype>(text.size()) + 1));
    }

    void addFolder(const FileDescriptor& folder, const std::string& path, int depth) {
        if (!folder.isOpen() || depth > deepest) {
            add("cannot be opened");
            return;
        }
        std::vector<std::string> names;
        try {
            names = entriesOf(folder.get(), path);
        } catch (const AppError&) {
            add("cannot be read");
        }
        std::sort(names.begin(), names.end());
        for (const std::string& name : names) {
            addEntry(folder.get(), name, path + "/" + name, depth);
        }
    }

    void addEntry(int folder, const std::string& name, const std::string& path, int depth) {
        struct stat status {};
        if (::fstatat(folder, name.c_str(), &status, AT_SYMLINK_NOFOLLOW) != 0) {
            return;
        }
        add(path);
        add(std::to_string(status.st_mode & S_IFMT));
        if (S_ISDIR(status.st_mode)) {
            addFolder(openFolder(folder, name), path, depth + 1);
        } else if (S_ISLNK(status.st_mode)) {
            std::array<char, PATH_MAX> target{};
            const ssize_t length = ::readlinkat(folder, name.c_str(), target.data(), target.size() - 1);
            add(std::string(target.data(), static_cast<std::size_t>(std::max<ssize_t>(length, 0))));
        } else {
            add(std::to_string(status.st_size));
            add(m_hasDates ? std::to_string(status.st_mtim.tv_sec) : "");
        }
    }

    const bool m_hasDates;
    QCryptographicHash m_hash{QCryptographicHash::Sha256};
};

FileDescriptor openBackups(const QString& backupsDir) {
    return FileDescriptor(::open(QFile::encodeName(backupsDir).constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
}

std::optional<Mark> readMark(int backups, const QString& name) {
    const QString time = name.mid(markPrefix.size());
    if (!name.startsWith(markPrefix) || !isDailyName(prefix + time)) {
        return std::nullopt;
    }
    try {
        const auto text = readNote(backups, QFile::encodeName(name).toStdString());
        return text ? markFrom(time, QString::fromLatin1(text->c_str())) : std::nullopt;
    } catch (const AppError&) {
        return std::nullopt;
    }
}

/// All marks, by number.
std::vector<Mark> marksIn(const QString& backupsDir) {
    const FileDescriptor backups = openBackups(backupsDir);
    const QStringList names = namesIn(backupsDir);
    std::vector<Mark> marks;
    for (const QString& name : names) {
        if (auto mark = readMark(backups.get(), name)) {
            marks.push_back(*std::move(mark));
        }
    }
    std::sort(marks.begin(), marks.end(), [](const Mark& mark, const Mark& other) {
        return std::pair(mark.copy.number, mark.copy.time) < std::pair(other.copy.number, other.copy.time);
    });
    return marks;
}

QString pathOf(const QString& backupsDir, const DailyCopy& copy) {
    return backupsDir + u'/' + copy.name();
}

} // namespace

QString DailyCopy::name() const {
    return prefix + time + wordsOf(check).inName;
}

QDateTime DailyCopy::made() const {
    return parsedTime(time);
}

QDate DailyCopy::day() const {
    return {time.left(4).toInt(), time.mid(4, 2).toInt(), time.mid(6, 2).toInt()};
}

QString dailyTime(const QDateTime& local) {
    return local.toString(timeFormat);
}

bool isDailyName(const QString& name) {
    static const QRegularExpression form(u"\\Adaily-([0-9]{8}-[0-9]{6})( \\((check failed|not checked)\\))?\\z"_s);
    const QRegularExpressionMatch found = form.match(name);
    return found.hasMatch() && parsedTime(found.captured(1)).date().isValid();
}

QList<DailyCopy> dailyCopiesIn(const QString& backupsDir) {
    QList<DailyCopy> copies;
    for (const Mark& mark : marksIn(backupsDir)) {
        if (isFolder(pathOf(backupsDir, mark.copy))) {
            copies << mark.copy;
        }
    }
    return copies;
}

QList<DailyCopy> comparedDailyCopiesIn(const QString& backupsDir) {
    QList<DailyCopy> copies;
    for (const Mark& mark : marksIn(backupsDir)) {
        const QString path = pathOf(backupsDir, mark.copy);
        if (isFolder(path)) {
            copies << mark.copy;
            copies.last().isChanged = Fingerprint(mark.hasDates).of(path) != mark.files;
        }
    }
    return copies;
}

void markDailyCopy(const QString& backupsDir, const DailyCopy& copy, const QString& path, const WorkFolder& work) {
    const bool hasDates = work.holdsLinks();
    const Mark mark{.copy = copy, .hasDates = hasDates, .files = Fingerprint(hasDates).of(path)};
    const int code = writeNote(work.descriptor(), "mark", textOf(mark).toStdString());
    if (code != 0) {
        throw fileError(work.path(), code);
    }
    // Under its own name only when it is whole.
    moveTo(work.path(u"mark"_s), backupsDir + u'/' + markPrefix + copy.time);
}

void unmarkDailyCopy(const QString& backupsDir, const DailyCopy& copy) {
    ::unlink(QFile::encodeName(backupsDir + u'/' + markPrefix + copy.time).constData());
}

void removeOrphanedMarks(const QString& backupsDir) {
    for (const Mark& mark : marksIn(backupsDir)) {
        if (!statusOf(pathOf(backupsDir, mark.copy))) {
            unmarkDailyCopy(backupsDir, mark.copy);
        }
    }
}

} // namespace orvanel
