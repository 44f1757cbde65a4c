#pragma once

#include "controller/Container.h"
#include "platform/Dialogs.h"

namespace orvanel {

/// Finds out, from the page and from the log, whether Uptime Kuma is converting its data, and asks the user before
/// anything stops it meanwhile. Main thread only. What it is given must outlive it, and it must outlive its tasks.
class ConversionWatch {
public:
    using PageAnswers = std::function<QCoro::Task<PageAnswer>(int port)>;

    ConversionWatch(const ContainerContext& context, Dialogs& dialogs, PageAnswers pageAnswers);

    QCoro::Task<PageAnswer> page() const { return m_pageAnswers(m_context.state->port); }
    /// What the log of a container that runs says beside its page. Read only where the page does not answer as usual.
    static QCoro::Task<std::optional<Conversion>> conversionBehind(PageAnswer page, Container container);
    /// Looks now, whatever is known of the container, and publishes what it finds.
    QCoro::Task<std::optional<Conversion>> conversionNow() const;
    /// Whether the server may be stopped: no conversion is under way, or the user wants it all the same.
    QCoro::Task<bool> mayStop() const;
    /// Whether the log of a container that restarts again and again says that a conversion was interrupted.
    static QCoro::Task<bool> wasInterrupted(Container container);

private:
    const ContainerContext m_context;
    Dialogs& m_dialogs;
    const PageAnswers m_pageAnswers;
};

} // namespace orvanel
