#pragma once

#include "app/widgets/StateColors.h"
#include "statuspage/StatusPageResult.h"

#include <QAbstractListModel>

#include <optional>

namespace orvanel {

/// The monitors of the status page as a list that tells exactly what has changed.
class MonitorModel final : public QAbstractListModel {
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    /// DisplayRole has the name, AccessibleTextRole the whole row in words, or the chosen heartbeat.
    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

    const MonitorRow& monitor(const QModelIndex& index) const { return m_monitors.at(index.row()); }
    bool isEmpty() const { return m_monitors.isEmpty(); }
    auto begin() const { return m_monitors.begin(); }
    auto end() const { return m_monitors.end(); }

    /// The same monitors in the same order give dataChanged, others replace the whole list (modelReset). The same list
    /// again gives no signal.
    void setMonitors(const QList<MonitorRow>& monitors);
    /// The row of the monitor with that id, or -1.
    int rowOf(std::int64_t id) const;

    /// Chooses a heartbeat of a monitor, counted from its newest; a screen reader says it before the monitor's name.
    /// The choice stays with that heartbeat while others follow it.
    void chooseBeat(const QModelIndex& index, int fromNewest);
    /// False when none was chosen.
    bool forgetBeat();
    /// The chosen heartbeat of that monitor, if there is one.
    std::optional<int> chosenBeat(const QModelIndex& index) const;

private:
    struct Choice {
        int row;
        int fromNewest;
    };
    /// Where the choice is after the old list has been replaced.
    std::optional<Choice> choiceSince(const QList<MonitorRow>& old) const;
    void tellChanges(const QList<MonitorRow>& old);
    QString spokenRow(const QModelIndex& index) const;

    QList<MonitorRow> m_monitors;
    std::optional<Choice> m_choice;
};

/// How a monitor's latest status code is shown.
struct MonitorStatus {
    QString word;
    Meaning meaning;
};

/// Without a code, and with codes other than 0 to 3, it says that there is no data.
MonitorStatus monitorStatus(std::optional<std::int64_t> code);

/// "123 ms", or a dash when there is no response time.
QString pingText(std::optional<std::int64_t> ping);

/// The row as a screen reader says it: name, group, status, response time, and a summary of the last heartbeats.
QString spokenMonitor(const MonitorRow& monitor);

} // namespace orvanel
