#include "backup/DatabaseCopy.h"

#include "backup/CopyTree.h"
#include "backup/Folder.h"
#include "backup/RemoveTree.h"

#include <QFile>

#include <array>

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

std::vector<FileState> stateOf(const QString& folder) {
    std::vector<FileState> states;
    for (const std::string& name : databaseFiles()) {
        const auto status = statusOf(folder + u'/' + QString::fromStdString(name));
        states.push_back(status ? FileState{FileId(*status), status->st_size, status->st_mtim} : FileState{});
    }
    return states;
}

} // namespace

std::vector<std::string> databaseFiles() {
    return {"kuma.db", "kuma.db-wal", "kuma.db-journal"};
}

void copyDatabase(const QString& source, const QString& target) {
    constexpr int attempts = 4;
    for (int attempt = 0; attempt < attempts; ++attempt) {
        const auto before = stateOf(source);
        for (const std::string& name : databaseFiles()) {
            removeTree(target + u'/' + QString::fromStdString(name));
        }
        copyFiles(source, target, databaseFiles());
        if (stateOf(source) == before) {
            return;
        }
    }
}

} // namespace orvanel
