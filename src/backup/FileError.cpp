#include "backup/FileError.h"

#include <QFile>

#include <system_error>

using namespace Qt::StringLiterals;

namespace orvanel {

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

} // namespace orvanel
