#include "controller/ConversionWatch.h"

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

Alert interruptionQuestion(const Conversion& conversion) {
    return {
        .style = Alert::Style::Critical,
        .message = u"Interrupt the conversion of your data?"_s,
        .informativeText = conversionSentence(conversion) +
                           u" If it is interrupted, Uptime Kuma never starts on this data again, and only a copy from "
                           "before helps. It can take hours: let it finish."_s,
        .confirmButton = u"Interrupt"_s,
        .cancelButton = u"Let It Finish"_s,
        .confirmsByReturn = false,
    };
}

ConversionLog readLog(const CommandResult& log) {
    return log.status == 0 && !log.timedOut && !log.cancelled ? readConversionLog(log.output) : ConversionLog{};
}

} // namespace

ConversionWatch::ConversionWatch(const ContainerContext& context, Dialogs& dialogs, PageAnswers pageAnswers)
    : m_context(context)
    , m_dialogs(dialogs)
    , m_pageAnswers(std::move(pageAnswers)) {}

QCoro::Task<std::optional<Conversion>> ConversionWatch::conversionBehind(PageAnswer page, Container container) {
    if (page == PageAnswer::usual) {
        co_return std::nullopt;
    }
    const CommandResult result = co_await container.endOfLog();
    const ConversionLog log = readLog(result);
    if (log.says == ConversionLog::Says::converting) {
        co_return Conversion{.percent = log.percent};
    }
    // The first line of the log may be long in coming.
    if (page == PageAnswer::converting && log.says != ConversionLog::Says::ended) {
        co_return Conversion{};
    }
    co_return std::nullopt;
}

/// The page comes first: where it answers as usual, docker need not be asked.
QCoro::Task<std::optional<Conversion>> ConversionWatch::conversionNow() const {
    std::optional<Conversion> conversion;
    const PageAnswer answer = co_await page();
    const std::optional<Container> known = knownContainer(m_context);
    if (answer != PageAnswer::usual && known) {
        const Container& container = *known;
        const std::optional<QString> word = co_await container.state();
        if (word == u"running"_s || word == u"paused"_s) {
            conversion = co_await conversionBehind(answer, container);
        }
    }
    m_context.state.set(&ControllerState::conversion, conversion);
    co_return conversion;
}

QCoro::Task<bool> ConversionWatch::mayStop() const {
    const std::optional<Conversion> conversion = co_await conversionNow();
    if (!conversion) {
        co_return true;
    }
    const Alert question = interruptionQuestion(*conversion);
    const bool wanted = co_await m_dialogs.confirm(question);
    co_return wanted;
}

QCoro::Task<bool> ConversionWatch::wasInterrupted(Container container) {
    const CommandResult result = co_await container.endOfLog();
    co_return readLog(result).says == ConversionLog::Says::interrupted;
}

} // namespace orvanel
