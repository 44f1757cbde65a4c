#pragma once

#include "statuspage/StatusPageResult.h"
#include "task/Clock.h"
#include "task/Event.h"

#include <QCoro/QCoroTask>
#include <QList>

using namespace Qt::StringLiterals;

namespace orvanel::test {

/// A server's web page and status pages. Each request is answered at once or, while `holdsQuestions` or `holdsReads` is
/// set, when the test completes its event.
class ScriptedPage {
public:
    struct Question {
        int port = 0;
        Event<PageAnswer> answer;
    };
    struct Read {
        int port = 0;
        QString slug;
        Clock::TimePoint at;
        Event<StatusPageResult> answer;
    };

    explicit ScriptedPage(const Clock* clock)
        : m_clock(clock) {}

    bool answers = true;
    /// What it answers exactly, where that makes a difference.
    std::optional<PageAnswer> exactAnswer;
    bool holdsQuestions = false;
    QList<Question> questions;

    StatusPageResult status = StatusPageData{.title = u"Home"_s, .monitors = {}};
    bool holdsReads = false;
    QList<Read> reads;

    /// Answers everything that is still held back, and holds nothing back from now on.
    void letGo() {
        holdsQuestions = false;
        holdsReads = false;
        for (const Question& question : questions) {
            question.answer.complete(answer());
        }
        for (const Read& read : reads) {
            read.answer.complete(status);
        }
    }

    PageAnswer answer() const { return exactAnswer.value_or(answers ? PageAnswer::usual : PageAnswer::none); }

    QCoro::Task<PageAnswer> pageAnswers(int port) {
        const Event<PageAnswer> answered;
        questions.append({port, answered});
        if (!holdsQuestions) {
            answered.complete(answer());
        }
        const PageAnswer result = co_await answered;
        co_return result;
    }

    QCoro::Task<StatusPageResult> fetch(int port, QString slug) {
        const Event<StatusPageResult> answer;
        reads.append({port, slug, m_clock->now(), answer});
        if (!holdsReads) {
            answer.complete(status);
        }
        const StatusPageResult result = co_await answer;
        co_return result;
    }

private:
    const Clock* m_clock;
};

} // namespace orvanel::test
