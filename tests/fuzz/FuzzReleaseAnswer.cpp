// Feeds any bytes to the reader of the release endpoint's answer.
#include "Fuzz.h"
#include "controller/ImageTag.h"
#include "release/ReleaseAnswer.h"

#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

using namespace Qt::StringLiterals;

namespace orvanel::test {
namespace {

bool isSentence(const ReleaseResult& result) {
    const auto* error = std::get_if<ReleaseError>(&result);
    return error != nullptr && error->message.startsWith(u"Could not check for updates"_s);
}

bool isTagCharacter(QChar c) {
    const bool isLetterOrDigit = (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z') || (c >= u'0' && c <= u'9');
    return isLetterOrDigit || c == u'_' || c == u'.' || c == u'-';
}

/// The rule, written in another way than in the program.
bool mayBeTag(const QString& text) {
    return !text.isEmpty() && text.size() <= 128 && text[0] != u'.' && text[0] != u'-' &&
           std::all_of(text.begin(), text.end(), isTagCharacter);
}

} // namespace

void fuzz(QByteArrayView input) {
    const QByteArray body = input.toByteArray();
    require(isSentence(readRelease(404, body)), "another status is an error");
    const ReleaseResult result = readRelease(200, body);
    const auto* release = std::get_if<LatestRelease>(&result);
    if (release == nullptr) {
        require(isSentence(result), "an error is a sentence");
        return;
    }
    require(isValidImageTag(release->version) == mayBeTag(release->version), "only valid tags are accepted");
    require(!isMajorChange(release->version, release->version), "the same version is no change");
    QJsonObject same{{u"tag_name"_s, u'v' + release->version}};
    if (release->page) {
        same[u"html_url"] = *release->page;
    }
    // Half a surrogate pair cannot be written into the bytes of an answer.
    if (!release->version.toUtf8().contains('?') && (!release->page || !release->page->toUtf8().contains('?'))) {
        require(readRelease(200, QJsonDocument(same).toJson()) == result,
                "an answer that tells the same reads the same");
    }
}

} // namespace orvanel::test
