#include "process/DockerComplaint.h"

#include <QStringList>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

bool containsAny(const QString& text, const QStringList& phrases) {
    return std::any_of(phrases.begin(), phrases.end(), [&](const QString& phrase) { return text.contains(phrase); });
}

} // namespace

DockerComplaint complaintOf(const CommandResult& result) {
    static const QStringList portPhrases{
        u"port is already allocated"_s,
        u"address already in use"_s,
        u"ports are not available"_s,
    };
    static const QStringList internetPhrases{
        u"no such host"_s,           u"dial tcp"_s,
        u"tls handshake"_s,          u"i/o timeout"_s,
        u"network is unreachable"_s, u"temporary failure in name resolution"_s,
        u"failed to resolve"_s,      u"failed to do request"_s,
    };
    if (result.timedOut) {
        return DockerComplaint::noAnswer;
    }
    const QString text = result.output.toLower();
    if (containsAny(text, portPhrases)) {
        return DockerComplaint::portTaken;
    }
    if (text.contains(u"no space left"_s)) {
        return DockerComplaint::diskFull;
    }
    if (containsAny(text, internetPhrases)) {
        return DockerComplaint::noInternet;
    }
    if (text.contains(u"cannot connect to the docker daemon"_s)) {
        return DockerComplaint::notRunning;
    }
    return DockerComplaint::other;
}

QString sentenceOf(DockerComplaint complaint) {
    switch (complaint) {
    case DockerComplaint::noAnswer:
        return u"Docker did not answer in time."_s;
    case DockerComplaint::portTaken:
        return u"The port is already in use by another program."_s;
    case DockerComplaint::diskFull:
        return u"Your disk is full. Free some space and try again."_s;
    case DockerComplaint::noInternet:
        return u"Docker could not reach the internet to download the image. Check your connection."_s;
    case DockerComplaint::notRunning:
        return u"Docker is not running."_s;
    case DockerComplaint::other:
        return u"Docker reported an error."_s;
    }
    Q_UNREACHABLE();
}

} // namespace orvanel
