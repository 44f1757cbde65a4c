#pragma once

#include "platform/ServiceUnits.h"
#include "task/Event.h"

#include <QList>
#include <QMap>
#include <QStringList>

#include <functional>

using namespace Qt::StringLiterals;

namespace orvanel::test {

/// The service managers as a test plays them. At first they know no unit.
class ScriptedUnits final : public ServiceUnits {
public:
    using Refusal = std::optional<UnitRefusal>;

    /// What each unit is in, by name; those of the user's login begin with "user ".
    QMap<QString, UnitState> states;
    /// How the next starts end. What does not fail becomes `activeAfterStart`.
    Refusal refusal;
    QString activeAfterStart = u"active"_s;
    /// The questions for the password stay open.
    bool holds = false;
    QList<Event<Refusal>> questions;
    std::function<void()> onStart = [] {};

    QStringList started;
    int looks = 0;

    void letGo() {
        holds = false;
        for (const Event<Refusal>& question : questions) {
            question.complete(refusal);
        }
    }

    QCoro::Task<std::optional<UnitState>> state(ServiceUnit unit) override {
        looks += 1;
        const auto found = states.constFind(key(unit));
        co_return found != states.constEnd() ? std::optional(*found) : std::nullopt;
    }

    QCoro::Task<Refusal> start(ServiceUnit unit, std::stop_token stop) override {
        started.append(key(unit));
        const Event<Refusal> question;
        questions.append(question);
        if (!holds) {
            question.complete(refusal);
        }
        const UnitRefusal cancelled{UnitRefusal::Reason::cancelled};
        const std::stop_callback onStop(stop, [&] { question.complete(cancelled); });
        const Refusal answer = co_await question;
        if (!answer) {
            states[key(unit)].active = activeAfterStart;
            onStart();
        }
        co_return answer;
    }

private:
    static QString key(const ServiceUnit& unit) {
        return (unit.manager == ServiceUnit::Manager::user ? u"user "_s : QString()) + unit.name;
    }
};

} // namespace orvanel::test
