#include "backup/DatabaseCopy.h"

#include "backup/CopyTree.h"
#include "backup/Folder.h"
#include "backup/RemoveTree.h"

#include <QFile>

#include <sys/stat.h>

namespace orvanel {
namespace {

struct FileState {
    FileId id;
    off_t size = -1;
    timespec changed{};

    bool operator==(const FileState& other) const {
        return id == other.id && size == other.size && changed.tv_sec == other.changed.tv_sec &&
               changed.tv_nsec == other.changed.tv_nsec;
    }
};

FileState stateOf(const QString& path) {
    const auto status = statusOf(path);
    return status ? FileState{FileId(*status), status->st_size, status->st_mtim} : FileState{};
}

bool isFile(const QString& path) {
    const auto status = statusOf(path);
    return status && S_ISREG(status->st_mode);
}

/// One of the database's files on its way.
struct FilePair {
    std::string name;
    QString source;
    QString target;
};

std::vector<FileState> statesOf(const std::vector<FilePair>& files) {
    std::vector<FileState> states;
    states.reserve(files.size());
    for (const FilePair& file : files) {
        states.push_back(stateOf(file.source));
    }
    return states;
}

/// Removes what an earlier attempt copied, and what has become a file meanwhile. The names of those that are files now.
std::vector<std::string> clear(const std::vector<FilePair>& files) {
    std::vector<std::string> names;
    for (const FilePair& file : files) {
        const bool isThere = isFile(file.source);
        if (isThere || (!statusOf(file.source) && isFile(file.target))) {
            removeTree(file.target);
        }
        if (isThere) {
            names.push_back(file.name);
        }
    }
    return names;
}

} // namespace

std::vector<std::string> databaseFiles(const QString& name) {
    const std::string text = QFile::encodeName(name).toStdString();
    return {text, text + "-wal", text + "-journal"};
}

void copyDatabase(const QString& source, const QString& target, const QString& name) {
    std::vector<FilePair> files;
    for (const std::string& file : databaseFiles(name)) {
        const QString relative = u'/' + QFile::decodeName(file.c_str());
        files.push_back({file, source + relative, target + relative});
    }
    constexpr int attempts = 4;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const auto before = statesOf(files);
        copyFiles(source, target, clear(files));
        if (statesOf(files) == before) {
            return;
        }
    }
}

} // namespace orvanel
