#include "platform/SmallFile.h"

#include <QFile>
#include <QFileInfo>

namespace orvanel {

std::optional<QByteArray> readSmallFile(const QString& path) {
    const QFileInfo info(path);
    if (!info.isFile() || info.size() > smallFileLimit) {
        return std::nullopt;
    }
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly)) {
        return std::nullopt;
    }
    QByteArray content = file.read(smallFileLimit);
    if (file.error() != QFileDevice::NoError) {
        return std::nullopt;
    }
    return content;
}

} // namespace orvanel
