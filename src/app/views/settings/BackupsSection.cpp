#include "app/views/settings/BackupsSection.h"

#include "app/widgets/Switch.h"
#include "controller/KumaController.h"

#include <QDateTime>
#include <QLocale>
#include <QVBoxLayout>

using namespace Qt::StringLiterals;

namespace orvanel {
namespace {

QDateTime localTimeOf(Clock::WallTime time) {
    const auto sinceEpoch = std::chrono::duration_cast<std::chrono::milliseconds>(time.time_since_epoch());
    return QDateTime::fromMSecsSinceEpoch(sinceEpoch.count());
}

/// Why the last attempt failed, and when the next one is made.
QString problemText(const DailyBackupState& daily) {
    if (!daily.failure) {
        return {};
    }
    if (!daily.nextAttempt) {
        return *daily.failure;
    }
    const QString when = QLocale().toString(localTimeOf(*daily.nextAttempt).time(), QLocale::ShortFormat);
    return u"%1\nOrvanel tries again at %2."_s.arg(*daily.failure, when);
}

} // namespace

QString lastBackupText(const DailyBackupState& daily, bool switchedOn) {
    if (daily.isRunning) {
        return u"Backing up…"_s;
    }
    QStringList sentences;
    if (daily.lastMade) {
        sentences << u"Last copy: %1, in %2"_s.arg(
            QLocale().toString(localTimeOf(*daily.lastMade), QLocale::ShortFormat), daily.lastPlace);
    } else if (switchedOn) {
        sentences << u"There is no copy yet."_s;
    }
    if (daily.waiting) {
        sentences << *daily.waiting;
    }
    return sentences.join(u'\n');
}

QString backupSizeText(const DailyBackupState& daily) {
    if (daily.copies == 0) {
        return {};
    }
    const QString copies = daily.copies == 1 ? u"One copy takes"_s : u"%1 copies take"_s.arg(daily.copies);
    return u"%1 %2%3 on the disk."_s.arg(copies, daily.isAtMost ? u"at most "_s : QString(),
                                         QLocale(QLocale::English).formattedDataSize(daily.bytes, 1));
}

BackupsSection::BackupsSection(ViewContext context, QWidget* parent)
    : SettingsSection(u"Backups"_s, parent)
    , m_context(context)
    , m_daily(new Switch(u"Back up every day"_s)) {
    column()->addWidget(m_daily);
    SettingProblem* const notSaved = addProblem(m_daily);
    m_last = addText(TextStyle::body);
    m_problem = addText(TextStyle::body);
    m_problem->setMeaning(Meaning::pending);
    m_size = addText(TextStyle::body);
    m_notes = addText(TextStyle::caption);
    m_notes->setMeaning(Meaning::pending);
    addCaption(
        u"Copies the data to the Backups folder once a day, while Uptime Kuma keeps running. Seven daily and four "
        "weekly copies are kept. What did not change is stored once for all copies, so do not change files in "
        "them: restore a copy instead."_s);
    // Not clicked(), because a screen reader toggles a switch without a click. The condition leaves out what render()
    // shows.
    KumaController& controller = context.controller;
    connect(m_daily, &Switch::toggled, this, [&controller, notSaved](bool enabled) {
        if (enabled != controller.state().dailyBackup) {
            notSaved->showWhetherSaved(controller.setDailyBackup(enabled));
        }
    });
}

void BackupsSection::render() {
    const ControllerState& state = m_context.controller.state();
    const DailyBackupState& daily = state.dailyBackups;
    m_daily->setChecked(state.dailyBackup);
    show(m_last, lastBackupText(daily, state.dailyBackup));
    show(m_problem, state.dailyBackup ? problemText(daily) : QString());
    show(m_size, backupSizeText(daily));
    show(m_notes, daily.notes.join(u'\n'));
}

void BackupsSection::show(TextLabel* label, const QString& text) {
    label->setOutsideText(text);
    label->setVisible(!text.isEmpty());
}

} // namespace orvanel
