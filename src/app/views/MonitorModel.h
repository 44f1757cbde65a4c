#pragma once

#include "statuspage/MonitorRow.h"

#include <QAbstractListModel>

namespace orvanel {

/// The monitors of the status page as a list that says exactly what changes.
class MonitorModel final : public QAbstractListModel {
    Q_OBJECT

public:
    using QAbstractListModel::QAbstractListModel;

    /// The text of DisplayRole is the name; AccessibleTextRole says the whole row in words.
    int rowCount(const QModelIndex& parent = {}) const override;
    QVariant data(const QModelIndex& index, int role) const override;

    const MonitorRow& monitor(const QModelIndex& index) const { return m_monitors.at(index.row()); }
    bool isEmpty() const { return m_monitors.isEmpty(); }
    auto begin() const { return m_monitors.begin(); }
    auto end() const { return m_monitors.end(); }

    /// The same monitors in the same order only change; others replace the whole list (modelReset). What is the same as
    /// before is not mentioned at all.
    void setMonitors(const QList<MonitorRow>& monitors);
    /// The row of the monitor with that id, or -1.
    int rowOf(std::int64_t id) const;

private:
    void tellChanges(const QList<MonitorRow>& old);

    QList<MonitorRow> m_monitors;
};

/// "123 ms", or a dash when the monitor has no response time.
QString pingText(const MonitorRow& monitor);

/// The row as a screen reader says it: name, group, status, response time.
QString spokenMonitor(const MonitorRow& monitor);

} // namespace orvanel
