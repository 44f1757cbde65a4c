#include "backup/DataVersion.h"

#include "backup/FileSystem.h"
#include "backup/FormatsModule.h"

#include <sys/stat.h>

using namespace Qt::StringLiterals;

namespace orvanel {

DataVersion dataVersionOf(const QString& folder) {
    const QString path = folder + u"/kuma.db"_s;
    const auto status = statusOf(path);
    // A link leads to what a restore would copy as a link.
    if (!status || !S_ISREG(status->st_mode)) {
        return DataVersion::unknown;
    }
    const auto state = fileFormats().readSetting(path, "migrateAggregateTableState");
    if (!state) {
        return DataVersion::unknown;
    }
    // The server keeps its settings as JSON.
    if (state->contains("migrating")) {
        return DataVersion::converting;
    }
    return state->contains("migrated") ? DataVersion::converted : DataVersion::old;
}

} // namespace orvanel
