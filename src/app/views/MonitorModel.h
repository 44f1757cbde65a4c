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

    /// DisplayRole has the name, AccessibleTextRole the whole row in words.
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

private:
    void tellChanges(const QList<MonitorRow>& old);

    QList<MonitorRow> m_monitors;
};

/// How a monitor's latest status code is shown.
struct MonitorStatus {
    QString word;
    Meaning meaning;
};

/// Without a code, and with codes other than 0 to 3, it says that there is no data.
MonitorStatus monitorStatus(std::optional<std::int64_t> code);

/// "123 ms", or a dash when the monitor has no response time.
QString pingText(const MonitorRow& monitor);

/// The row as a screen reader says it: name, group, status, response time.
QString spokenMonitor(const MonitorRow& monitor);

} // namespace orvanel
