#pragma once

#include "release/ReleaseAnswer.h"
#include "task/Event.h"

#include <QCoro/QCoroTask>
#include <QList>

using namespace Qt::StringLiterals;

namespace orvanel::test {

/// A scripted source of releases. Each question is answered at once or, while `holds` is set, when the test completes
/// its event.
class ScriptedReleases {
public:
    ReleaseResult answer = LatestRelease{.version = u"2.1.0"_s, .page = u"https://example.org/2.1.0"_s};
    bool holds = false;
    QList<Event<ReleaseResult>> questions;

    void letGo() {
        holds = false;
        for (const Event<ReleaseResult>& question : questions) {
            question.complete(answer);
        }
    }

    QCoro::Task<ReleaseResult> fetch() {
        const Event<ReleaseResult> question;
        questions.append(question);
        if (!holds) {
            question.complete(answer);
        }
        const ReleaseResult result = co_await question;
        co_return result;
    }
};

} // namespace orvanel::test
