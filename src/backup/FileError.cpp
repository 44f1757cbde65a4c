#include "backup/FileError.h"

#include <QFile>

#include <system_error>

namespace orvanel {

AppError fileError(const QString& path, int code) {
    return AppError(QStringLiteral("%1: %2").arg(path, QString::fromStdString(std::generic_category().message(code))));
}

AppError fileError(const std::string& path, int code) {
    return fileError(QFile::decodeName(path.c_str()), code);
}

} // namespace orvanel
