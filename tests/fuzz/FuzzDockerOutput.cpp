// Feeds any bytes to the readers of docker's output.
#include "Fuzz.h"
#include "controller/ContainerAnswer.h"
#include "controller/PermissionDenied.h"
#include "process/DockerCLI.h"
#include "process/OutputBuffer.h"

#include <algorithm>
#include <array>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

/// The sentences for failures, the most specific first.
const std::array sentences{
    "The port is already in use by another program.",
    "Your disk is full. Free some space and try again.",
    "Docker could not reach the internet to download the image. Check your connection.",
    "Docker is not running.",
    "Docker reported an error.",
};

std::ptrdiff_t rankOf(const QString& output) {
    const QString message = DockerCLI::friendlyMessage(output, false);
    const auto* const found = std::find_if(sentences.begin(), sentences.end(), [&](const char* sentence) {
        return message == QString::fromLatin1(sentence);
    });
    require(found != sentences.end(), "a failure has one of the sentences");
    return found - sentences.begin();
}

/// The last line that is not empty, found in another way than the program finds it.
QString lastLine(const QString& output) {
    QString last;
    const QStringList lines = output.split(u'\n');
    for (const QString& line : lines) {
        last = line.trimmed().isEmpty() ? last : line.trimmed();
    }
    return last;
}

} // namespace

/// The input has two parts: the beginning and the end of the output.
void fuzz(QByteArrayView input) {
    const QString first = decodeUtf8(takePart(&input));
    const QString second = decodeUtf8(takePart(&input));
    const QString both = first + u'\n' + second;
    require(stateWord(both) == lastLine(both), "the state is the last line");
    require(stateWord(first + u"\nrunning\r\n \n"_s) == u"running"_s, "warnings do not matter");
    require(rankOf(both) == std::min(rankOf(first), rankOf(second)), "each line counts for the sentence");
    require(saysNoContainer(both) == (saysNoContainer(first) || saysNoContainer(second)), "each line can deny it");
    require(isPermissionDenied(both) == (isPermissionDenied(first) || isPermissionDenied(second)),
            "each line can refuse");
    require(DockerCLI::friendlyMessage(both, true) == u"Docker did not answer in time."_s,
            "time limits have a sentence of their own");
}

} // namespace orvanel::test
