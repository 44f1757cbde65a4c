#include "controller/Conversion.h"

#include <QRegularExpression>
#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

using Says = ConversionLog::Says;

std::optional<int> percentIn(const QString& line) {
    static const QRegularExpression share(u"progress\\s+(\\d{1,3})(?:\\.\\d+)?\\s*%"_s);
    const QRegularExpressionMatch match = share.match(line);
    const int percent = match.hasMatch() ? match.captured(1).toInt() : -1;
    return percent >= 0 && percent <= 100 ? std::optional(percent) : std::nullopt;
}

/// None when the line says nothing about a conversion, and so nothing about the lines before it either.
std::optional<ConversionLog> readLine(const QString& line) {
    if (line.contains(u"[DON'T STOP]"_s)) {
        return ConversionLog{.says = Says::converting, .percent = percentIn(line)};
    }
    if (line.contains(u"Clearing non-important heartbeats"_s)) {
        return ConversionLog{.says = Says::converting};
    }
    if (line.contains(u"Aggregate table migration is already in progress"_s)) {
        return ConversionLog{.says = Says::interrupted};
    }
    if (line.contains(u"Aggregate Table Migration Completed"_s) || line.contains(u"Listening on:"_s)) {
        return ConversionLog{.says = Says::ended};
    }
    // A new start: what stands before it is over.
    if (line.contains(u"Welcome to Uptime Kuma"_s)) {
        return ConversionLog{};
    }
    return std::nullopt;
}

QString withoutColours(QString log) {
    static const QRegularExpression colour(u"\\x1b\\[[0-9;]*m"_s);
    return log.remove(colour);
}

} // namespace

QString conversionSentence(const Conversion& conversion) {
    const QString share = conversion.percent ? u" (%1 %)"_s.arg(*conversion.percent) : QString();
    return u"Uptime Kuma is converting its data for the new version%1."_s.arg(share);
}

ConversionLog readConversionLog(const QString& log) {
    const QStringList lines = withoutColours(log).split(u'\n');
    bool hasJustStarted = false;
    for (auto line = lines.rbegin(); line != lines.rend(); ++line) {
        const std::optional<ConversionLog> read = readLine(*line);
        if (read && read->says == Says::nothing && !hasJustStarted) {
            hasJustStarted = true;
        } else if (read) {
            // A start that fails says so, and the next one begins: the container starts it again and again.
            const bool counts = !hasJustStarted || read->says == Says::interrupted;
            return counts ? *read : ConversionLog{};
        }
    }
    return {};
}

} // namespace orvanel
