#include "platform/ExecLine.h"

using namespace Qt::StringLiterals;

namespace orvanel::execline {
namespace {

// The argument being read; quotes may start and end inside it.
struct Reader {
    QStringList done;
    QString current;
    bool inArgument = false;
    bool inQuotes = false;

    void add(QChar character) {
        current += character;
        inArgument = true;
    }

    void endArgument() {
        if (inArgument) {
            done << current;
        }
        current.clear();
        inArgument = false;
    }
};

} // namespace

QString quoted(const QString& argument) {
    QString result = u"\""_s;
    for (const QChar character : argument) {
        if (u"\"`$\\"_s.contains(character)) {
            result += u'\\';
        }
        if (character == u'%') {
            result += u'%';
        }
        result += character;
    }
    return result + u'"';
}

QStringList arguments(const QString& exec) {
    Reader reader;
    for (qsizetype i = 0; i < exec.size(); ++i) {
        const QChar character = exec[i];
        const bool isLast = i + 1 == exec.size();
        if (character == u'\\' && !isLast) {
            reader.add(exec[++i]);
        } else if (character == u'%' && !isLast) {
            if (exec[++i] == u'%') {
                reader.add(u'%');
            }
        } else if (character == u'"') {
            reader.inQuotes = !reader.inQuotes;
            reader.inArgument = true;
        } else if (character.isSpace() && !reader.inQuotes) {
            reader.endArgument();
        } else {
            reader.add(character);
        }
    }
    reader.endArgument();
    return reader.done;
}

} // namespace orvanel::execline
