#include "release/ReleaseDownload.h"

#include "release/ReleaseAnswer.h"

#include <QNetworkReply>

#include <algorithm>

using namespace Qt::StringLiterals;
using namespace std::chrono_literals;

namespace orvanel {
namespace {

constexpr auto limit = 10s;
constexpr qint64 longestAnswer = qint64(1024) * 1024;
/// How much Qt reads ahead of us.
constexpr qint64 readAtOnce = qint64(64) * 1024;

bool isRedirectRefused(QNetworkReply::NetworkError error) {
    return error == QNetworkReply::InsecureRedirectError || error == QNetworkReply::TooManyRedirectsError;
}

QString descriptionOf(const QNetworkReply& reply) {
    const QString text = reply.errorString();
    return text.endsWith(u'.') ? text : text + u'.';
}

} // namespace

ReleaseDownload::ReleaseDownload(QNetworkReply* reply, Clock& clock, QObject* parent)
    : QObject(parent)
    , m_reply(reply)
    , m_limit(clock.callAfter(limit, [this] { end(transferError(u"the request timed out."_s)); })) {
    m_reply->setReadBufferSize(readAtOnce);
    connect(m_reply, &QNetworkReply::metaDataChanged, this, &ReleaseDownload::look);
    connect(m_reply, &QNetworkReply::readyRead, this, &ReleaseDownload::look);
    connect(m_reply, &QNetworkReply::finished, this, [this] {
        look();
        end(answer());
    });
}

ReleaseDownload::~ReleaseDownload() {
    m_ended.complete(transferError(u"the request was cancelled."_s));
}

void ReleaseDownload::look() {
    m_body += m_reply->readAll();
    const qint64 announced = m_reply->header(QNetworkRequest::ContentLengthHeader).toLongLong();
    if (std::max(announced, qint64(m_body.size())) > longestAnswer) {
        end(transferError(u"the answer is too large."_s));
    }
}

ReleaseResult ReleaseDownload::answer() const {
    const QNetworkReply::NetworkError error = m_reply->error();
    const int status = m_reply->attribute(QNetworkRequest::HttpStatusCodeAttribute).toInt();
    const bool hasStatusOfItsOwn = status != 0 && status != 200;
    if (isRedirectRefused(error) || (error != QNetworkReply::NoError && !hasStatusOfItsOwn)) {
        return transferError(descriptionOf(*m_reply));
    }
    return readRelease(status, m_body);
}

void ReleaseDownload::end(const ReleaseResult& result) {
    if (m_ended.isComplete()) {
        return;
    }
    m_ended.complete(result);
    m_reply->disconnect(this);
    m_reply->abort();
    m_reply->deleteLater();
    deleteLater();
}

} // namespace orvanel
