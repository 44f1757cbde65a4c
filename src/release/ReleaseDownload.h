#pragma once

#include "release/ReleaseAnswer.h"
#include "task/Clock.h"
#include "task/Event.h"

#include <QObject>

#include <memory>

class QNetworkReply;

namespace orvanel {

/// One request, from its sending to its end. When it has ended, it deletes itself and the reply. If it is deleted
/// before, it ends in an error.
class ReleaseDownload final : public QObject {
    Q_OBJECT

public:
    ReleaseDownload(QNetworkReply* reply, Clock& clock, QObject* parent);
    ~ReleaseDownload() override;

    const Event<ReleaseResult>& ended() const { return m_ended; }

private:
    void look();
    ReleaseResult answer() const;
    void end(const ReleaseResult& result);

    QNetworkReply* const m_reply;
    QByteArray m_body;
    const Event<ReleaseResult> m_ended;
    const std::unique_ptr<Clock::Timer> m_limit;
};

} // namespace orvanel
