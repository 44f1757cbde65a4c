#include "backup/DataCopy.h"

#include "backup/CopyTree.h"
#include "backup/DatabaseCheck.h"
#include "backup/DatabaseCopy.h"
#include "backup/Swap.h"
#include "backup/WorkFolder.h"

namespace orvanel {

std::optional<QString> copyData(const QString& dataDir, const WorkFolder& work, const QString& name) {
    const QString copy = work.path(name);
    // The files of the database come last and together, so that little time passes between them.
    CopyOptions options{
        .copyRest = [&] { copyDatabase(dataDir, copy); },
        .mayVanish = true,
        .never = work.id(),
    };
    for (const std::string& file : databaseFiles()) {
        options.leaveOut.insert(file);
    }
    copyTree(dataDir, copy, options);
    auto problem = checkDatabase(copy, work.path(QStringLiteral("scratch")));
    syncFileSystem(work.path());
    return problem;
}

} // namespace orvanel
